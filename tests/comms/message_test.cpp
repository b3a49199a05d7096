#include "gaizior/comms/message.h"

#include "tests/comms/log_capture.h"
#include "tests/support/allocation_failure.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

namespace gaizior {
namespace {

using ZRErrors::ZRErrorT;

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
    static std::string Written(const Message& message) {
        std::ostringstream stream;
        EXPECT_EQ(message.ToString(stream, 1), ZRErrors::e_General_NoError);
        return stream.str();
    }

    ZRErrorT Read(const std::string& text) {
        std::istringstream stream(text);
        return message.FromString(stream);
    }

    test::LogCapture lines;
    Message message;
};

TEST_F(MessageTest, IsWrittenAsOneElementInHexadecimal) {
    EXPECT_EQ(Written(message), "<ZRCommMsgC m_Type=\"0\" m_Code=\"0\" m_ID=\"0\" m_Val=\"0\" m_pString=\"\" "
                                "m_pQualifier=\"\" />");
    message.m_Type = 3;
    message.m_Code = 26;
    message.m_ID = 65535;
    message.m_Val = -1;
    message.SetMessageString("a\"b&c<d>e\t\x1b\xe9");
    message.SetQualifierString("q;");
    std::ostringstream stream;
    EXPECT_EQ(message.ToString(stream, 0), ZRErrors::e_General_NoError);
    EXPECT_EQ(stream.str(), std::string("<ZRCommMsgC m_Type=\"3\" m_Code=\"1a\" m_ID=\"ffff\" m_Val=\"ffffffff\" "
                                        "m_pString=\"a&quot;b&amp;c&lt;d&gt;e&#9;&#1b;&#ffffffe9;\" "
                                        "m_pQualifier=\"q;\" />") +
                                '\0');
    EXPECT_TRUE(stream.flags() & std::ios_base::hex);
}

TEST_F(MessageTest, ComesBackFromItsElement) {
    message.m_Type = 9;
    message.m_Code = -2;
    message.m_ID = 0xABCD;
    message.m_Val = 77;
    message.SetMessageString("START \"<&\" / now");
    message.SetQualifierString("a/b");
    std::stringstream stream;
    stream << "noise " << message << "tail";
    Message back;
    stream >> back;
    EXPECT_EQ(Written(back), Written(message));
    std::string tail;
    EXPECT_TRUE(stream >> tail) << "nothing beyond the element is read";
    EXPECT_EQ(tail, "tail");
}

struct Reading {
    const char* text;
    ZRErrorT error;
    const char* logged;
};

TEST_F(MessageTest, TellsWhatIsWrongWithAnElement) {
    const Reading readings[] = {
        {"< ZRCommMsgC\r\n m_Val = \"1f\" m_Code=\"1a\" />", ZRErrors::e_General_NoError, ""},
        {"<ZRCommMsgC />", ZRErrors::e_General_NoError, ""},
        {"", ZRErrors::e_Xml_ReadFailed, "unexpected object termination while reading object name: \n"},
        {"<ZRComm/>", ZRErrors::e_Xml_ReadFailed, "unexpected object termination while reading object name: ZRComm\n"},
        {"<Other m_Type=\"1\" />", ZRErrors::e_Object_InvalidName,
         "Invalid comms object name, expected: \"ZRCommMsgC\", read: \"Other\"\n"},
        {"<ZRCommMsgC m_Ty/>=\"1\"", ZRErrors::e_Xml_ReadFailed,
         "unexpected object termination while reading parameter name: m_Ty\n"},
        {"<ZRCommMsgC m_Type=/>\"1\"", ZRErrors::e_Xml_SeekFailed,
         "unexpected object termination while seeking parameter value.\n"},
        {"<ZRCommMsgC m_Type=\"12", ZRErrors::e_Xml_ReadFailed,
         "unexpected object termination while reading parameter value: 12\n"},
        {"<ZRCommMsgC m_pString=\"a&gt;b\" />", ZRErrors::e_Xml_ReadFailed,
         "unexpected object termination while reading parameter value: a&gt;b\n"},
        {"<ZRCommMsgC m_pString=\"&quo\" />", ZRErrors::e_Xml_ReadFailed,
         "unexpected object termination while reading parameter value: &quo\n"},
        {"<ZRCommMsgC m_pString=\"&#65536;\" />", ZRErrors::e_Xml_ReadFailed,
         "unexpected object termination while reading parameter value: &#65536;\n"},
        {"<ZRCommMsgC m_ID=\"zz\" m_Val=\"10000001f\"", ZRErrors::e_Xml_ReadFailed,
         "unexpected object termination while reading parameter name: \n"}, // 33 bits: the low 32, as on Windows
        {"<ZRCommMsgC m_pString=\"a/>\" />", ZRErrors::e_Xml_ReadFailed,
         "unexpected object termination while reading parameter value: a\n"},
        {"<ZRCommMsgC a>b//>", ZRErrors::e_Xml_ReadFailed,
         "unexpected object termination while reading parameter name: a>b/\n"},
        {"<Other>", ZRErrors::e_Xml_ReadFailed, "unexpected object termination while reading object name: Other>\n"},
        {"<ZRCommMsgC m_Nothing=\"1\" />", ZRErrors::e_Arguments_Bad, "Invalid parameter:m_Nothing = 1\n"},
    };
    for (const Reading& reading : readings) {
        SCOPED_TRACE(reading.text);
        EXPECT_EQ(Read(reading.text), reading.error);
        const std::string from = reading.error == ZRErrors::e_Arguments_Bad ? "StoreParameter" : "FromString";
        EXPECT_EQ(lines.Take(), *reading.logged ? "0 ERROR: ZRCommMsgC::" + from + "(): " + reading.logged : "");
    }
    EXPECT_EQ(message.m_Code, 26);
    EXPECT_EQ(message.m_Val, 31);
}

/// Decisions of this system: types and references are written in hexadecimal and read in decimal, and ">" is the name
/// of its own entity.
TEST_F(MessageTest, ReadsSomeThingsOtherwiseThanItWritesThem) {
    message.m_Type = 0x12;
    message.SetMessageString("\x1b");
    EXPECT_EQ(Read(Written(message)), ZRErrors::e_Xml_ReadFailed) << "&#1b; is no decimal number";
    EXPECT_EQ(message.m_Type, 12);
    EXPECT_EQ(Read("<ZRCommMsgC m_pString=\"&>;&#65;&#321;\" />"), ZRErrors::e_General_NoError);
    EXPECT_STREQ(message.GetMessageString(), ">AA");
}

TEST_F(MessageTest, ReadsThePacketFormButWritesNothingOfIt) {
    EXPECT_EQ(message.SetFormat(0), 1);
    EXPECT_EQ(Read("3;17;2;-1;START;a;b"), ZRErrors::e_General_NoError);
    EXPECT_EQ(message.m_Type + message.m_Code + message.m_ID + message.m_Val, 21);
    EXPECT_STREQ(message.GetMessageString(), "START");
    EXPECT_STREQ(message.GetQualifierString(), "a;b");
    EXPECT_EQ(Written(message), "");
    EXPECT_EQ(Read("1;2;3;4;;" + std::string(1100, 'x')), ZRErrors::e_Buffer_TooSmall);
    EXPECT_EQ(message.GetMessageString(), nullptr);
    message.SetMessageString(std::string(300, 'x').c_str());
    std::ostringstream stream;
    EXPECT_EQ(message.ToString(stream, 1), ZRErrors::e_Buffer_Overflowed);
}

TEST_F(MessageTest, OwnsItsTexts) {
    message.SetMessageString("abcdef");
    EXPECT_EQ(message.SetMessageString(message.GetMessageString() + 3), ZRErrors::e_General_NoError);
    EXPECT_STREQ(message.GetMessageString(), "def");
    EXPECT_EQ(message.SetMessageString(std::string(65535, 'x').c_str()), ZRErrors::e_Buffer_TooSmall);
    EXPECT_STREQ(message.GetMessageString(), "def");
    EXPECT_EQ(message.SetMessageString(std::string(65534, 'x').c_str()), ZRErrors::e_General_NoError);
    message.SetMessageString("");
    EXPECT_EQ(message.GetMessageString(), nullptr);
    message.SetMessageString("text");
    Message& same = message;
    message = same;
    EXPECT_STREQ(message.GetMessageString(), "text");
    Message other;
    other = message;
    EXPECT_STREQ(other.GetMessageString(), "text");
    EXPECT_NE(other.GetMessageString(), message.GetMessageString());
    EXPECT_EQ(message.m_nStringLength, 5);
}

TEST_F(MessageTest, SharesItsTextsWithItsCopies) {
    auto first = std::make_unique<Message>();
    first->m_Val = 7;
    first->SetMessageString("string");
    first->SetQualifierString("qualifier");
    Message copy(*first);
    EXPECT_EQ(copy.GetMessageString(), first->GetMessageString());
    EXPECT_EQ(copy.GetQualifierString(), first->GetQualifierString());
    EXPECT_EQ(Written(copy), Written(*first));
    copy.SetMessageString("other");
    first.reset();
    EXPECT_STREQ(copy.GetMessageString(), "other");
    EXPECT_STREQ(copy.GetQualifierString(), "qualifier");
    Message(copy).Clear();
    EXPECT_STREQ(copy.GetQualifierString(), "qualifier");
}

TEST_F(MessageTest, LogsWhatItCannotStoreOrWrite) {
    EXPECT_EQ(message.SetMessageString(std::string(65535, 'x').c_str()), ZRErrors::e_Buffer_TooSmall);
    EXPECT_EQ(lines.Take(), "0 ERROR: ZRCommMsgC::DuplicateString(): Buffer too small: 124\n");
    std::ostringstream full;
    full.setstate(std::ios_base::badbit);
    EXPECT_EQ(message.ToString(full, 1), ZRErrors::e_Xml_WriteFailed);
    EXPECT_EQ(lines.Take(), "0 ERROR: ZRCommMsgC::ToString(): Failed to write XML object: 33666\n");
    message.SetMessageString("kept");
    Message other;
    other.SetMessageString("string");
    other.SetQualifierString("qualifier");
    int failures = 0;
    while (lines.Take(), test::FailAllocation(failures + 1, [&] { message = other; })) {
        ++failures;
        EXPECT_STREQ(message.GetMessageString(), "kept");
        EXPECT_NE(lines.Take().find(" ERROR: ZRCommMsgC::Clone(): failed - Memory allocation failed: 2001\n"),
                  std::string::npos);
    }
    EXPECT_EQ(failures, 2) << "each text is allocated once";
    EXPECT_STREQ(message.GetQualifierString(), "qualifier");
}

} // namespace
} // namespace gaizior
