#include "gaizior/comms/message.h"

#include "tests/support/allocation_failure.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>

namespace gaizior {
namespace {

using enum ZRErrors::ZRErrorT;
using ZRErrors::ZRErrorT;
using namespace std::string_literals;

/// Opens what derived classes may use.
class Message : public ZRCommMsgC {
public:
    using ZRCommMsgC::FromString;
    using ZRCommMsgC::m_nStringLength;
    using ZRCommMsgC::ToString;
    using ZRCommMsgC::ZRCommMsgC;
};

class MessageTest : public ::testing::Test {
protected:
    static std::string Written(const Message& message, int noTerminator = 1, ZRErrorT error = e_General_NoError) {
        std::ostringstream stream;
        EXPECT_EQ(message.ToString(stream, noTerminator), error);
        return stream.str();
    }
    ZRErrorT Read(const std::string& text) {
        std::istringstream stream(text);
        return message.FromString(stream);
    }

    void SetTo(const std::string& packet) {
        message.SetFormat(0);
        EXPECT_EQ(Read(packet), e_General_NoError);
        message.SetFormat(1);
    }

    test::LogCapture lines;
    Message message;
};

/// Decisions of this system: types and references are written in hexadecimal and read in decimal, and ">" is the name
/// of its own entity.
TEST_F(MessageTest, IsWrittenInHexadecimalAndReadInPartsOtherwise) {
    SetTo("18;26;65535;-1;a\"b&c<d\x1b\t>\xe9;");
    EXPECT_EQ(Written(message, 0), "<ZRCommMsgC m_Type=\"12\" m_Code=\"1a\" m_ID=\"ffff\" m_Val=\"ffffffff\" "
                                   "m_pString=\"a&quot;b&amp;c&lt;d&#1b;&#9;&gt;&#ffffffe9;\" m_pQualifier=\"\" />\0"s);
    EXPECT_EQ(Read(Written(message)), e_Xml_ReadFailed) << "&#1b; is no decimal number";
    EXPECT_EQ(message.m_Type, 12);
    EXPECT_EQ(Read("<ZRCommMsgC m_pString=\"&>;&#65;&#321;\" />"), e_General_NoError);
    EXPECT_STREQ(message.GetMessageString(), ">AA");
}

TEST_F(MessageTest, ComesBackFromItsElement) {
    SetTo("9;-2;43981;77;START \"<&\" / now;a/b");
    std::stringstream stream;
    stream << "noise " << message << 17 << "tail";
    Message back;
    stream >> back;
    EXPECT_EQ(Written(back), Written(message));
    std::string tail;
    EXPECT_TRUE(stream >> tail && !(stream >> back));
    EXPECT_EQ(tail, "11tail") << "the stream is left in hexadecimal, and nothing beyond the element is read";
}

TEST_F(MessageTest, EndsALoopWithTheStreamInEitherForm) {
    const struct {
        int format, messages;
        const char* text;
    } cases[] = {{1, 2, " <ZRCommMsgC /> <ZRCommMsgC />\n"}, {0, 1, "1;2;3;4;;"}, {0, 0, ""}, {1, 0, ""}};
    for (const auto& given : cases) {
        message.SetFormat(given.format);
        std::istringstream stream(given.text);
        int messages = 0;
        while (messages < 9 && stream >> message) {
            ++messages;
        }
        EXPECT_EQ(messages, given.messages) << given.text;
        EXPECT_EQ(stream.rdstate(), std::ios_base::eofbit | std::ios_base::failbit);
    }
    EXPECT_EQ(lines.Take(), "") << "the end is no failure";
}

TEST_F(MessageTest, TellsWhatIsWrongWithAnElement) {
    message.m_ID = 5;
    const std::string ended = "unexpected object termination while ";
    const struct {
        const char* text;
        ZRErrorT error;
        std::string logged;
    } cases[] = {
        {"", e_Xml_ReadFailed, ended + "reading object name: "},
        {"<ZRComm/>", e_Xml_ReadFailed, ended + "reading object name: ZRComm"},
        {"<Other>", e_Xml_ReadFailed, ended + "reading object name: Other>"},
        {"<Other m_Type=\"1", e_Object_InvalidName,
         "Invalid comms object name, expected: \"ZRCommMsgC\", read: \"Other\""},
        {"<ZRCommMsgC a>b c//>=\"1\"", e_Xml_ReadFailed, ended + "reading parameter name: a>bc/"},
        {"<ZRCommMsgC m_Type=/>\"1\"", e_Xml_SeekFailed, ended + "seeking parameter value."},
        {"<ZRCommMsgC m_Type=\"12", e_Xml_ReadFailed, ended + "reading parameter value: 12"},
        {"<ZRCommMsgC m_Type=\"1/>\" />", e_Xml_ReadFailed, ended + "reading parameter value: 1"},
        {"<ZRCommMsgC a=\"&amp;&gt;\" />", e_Xml_ReadFailed, ended + "reading parameter value: &amp;&gt;"},
        {"<ZRCommMsgC a=\"&quo\" />", e_Xml_ReadFailed, ended + "reading parameter value: &quo"},
        {"<ZRCommMsgC a=\"&#65536;\" />", e_Xml_ReadFailed, ended + "reading parameter value: &#65536;"},
    };
    for (const auto& reading : cases) {
        EXPECT_EQ(Read(reading.text), reading.error) << reading.text;
        EXPECT_EQ(lines.Take(), "0 ERROR: ZRCommMsgC::FromString(): " + reading.logged + '\n');
    }
    EXPECT_EQ(Read("<ZRCommMsgC m_Nothing=\"1\" />"), e_Arguments_Bad);
    EXPECT_EQ(lines.Take(), "0 ERROR: ZRCommMsgC::StoreParameter(): Invalid parameter:m_Nothing = 1\n");
    EXPECT_EQ(Read("< ZRCommMsgC\r\n m_Val = \"10000001f\" m_Code=\"1a\" m_ID=\"0x\" />"), e_General_NoError);
    EXPECT_EQ(lines.Take(), "");
    EXPECT_EQ(message.m_Code, 26);
    EXPECT_EQ(message.m_ID, 5) << "no number: as it was";
    EXPECT_EQ(message.m_Val, 31) << "of 33 bits the low 32, as on Windows";
}

TEST_F(MessageTest, ReadsThePacketFormButWritesNothingOfIt) {
    EXPECT_EQ(message.SetFormat(0), 1);
    EXPECT_EQ(Read("3;17;2;-1;START;a;b"), e_General_NoError);
    EXPECT_EQ(Written(message), "");
    message.SetFormat(1);
    EXPECT_EQ(Written(message), "<ZRCommMsgC m_Type=\"3\" m_Code=\"11\" m_ID=\"2\" m_Val=\"ffffffff\" "
                                "m_pString=\"START\" m_pQualifier=\"a;b\" />");
    message.SetFormat(0);
    EXPECT_EQ(Read("1;2;3;4;;" + std::string(1100, 'x')), e_Buffer_TooSmall);
    EXPECT_EQ(message.GetMessageString(), nullptr);
    message.SetMessageString(std::string(300, 'x').c_str());
    EXPECT_EQ(Written(message, 1, e_Buffer_Overflowed), "");
}

TEST_F(MessageTest, OwnsItsTextsAndSharesThemWithItsCopies) {
    message.SetMessageString("abcdef");
    message.SetMessageString(message.GetMessageString() + 3);
    EXPECT_EQ(message.SetMessageString(std::string(65535, 'x').c_str()), e_Buffer_TooSmall);
    EXPECT_EQ(lines.Take(), "0 ERROR: ZRCommMsgC::DuplicateString(): Buffer too small: 124\n");
    Message& same = message;
    message = same;
    EXPECT_STREQ(message.GetMessageString(), "def");
    EXPECT_EQ(message.m_nStringLength, 4);
    auto copy = std::make_unique<Message>(message);
    EXPECT_EQ(copy->GetMessageString(), message.GetMessageString());
    *copy = message;
    EXPECT_NE(copy->GetMessageString(), message.GetMessageString()) << "assignment duplicates";
    message = *std::make_unique<Message>(*copy);
    copy.reset();
    EXPECT_STREQ(message.GetMessageString(), "def");
    EXPECT_EQ(message.SetMessageString(std::string(65534, 'x').c_str()), e_General_NoError);
    EXPECT_EQ(message.m_nStringLength, 65535);
    message.SetMessageString("");
    EXPECT_TRUE(!message.GetMessageString() && message.m_nStringLength == 0);
}

TEST_F(MessageTest, LogsWhatItCannotCopyOrWrite) {
    message.SetMessageString("kept");
    Message other;
    other.SetMessageString("string");
    other.SetQualifierString("qualifier");
    int failures = 0;
    while (lines.Take(), test::FailAllocation(failures + 1, [&] { message = other; })) {
        ++failures;
        EXPECT_STREQ(message.GetMessageString(), "kept");
        EXPECT_TRUE(lines.Take().ends_with(" ERROR: ZRCommMsgC::Clone(): failed - Memory allocation failed: 2001\n"));
    }
    EXPECT_EQ(failures, 2) << "each text is allocated once";
    EXPECT_STREQ(message.GetQualifierString(), "qualifier");
    std::ostream nowhere(nullptr);
    EXPECT_EQ(message.ToString(nowhere, 1), e_Xml_WriteFailed);
    EXPECT_EQ(lines.Take(), "0 ERROR: ZRCommMsgC::ToString(): Failed to write XML object: 33666\n");
}

} // namespace
} // namespace gaizior
