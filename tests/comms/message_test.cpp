#include "gaizior/comms/message.h"

#include "gaizior/logging/log_stream.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

namespace gaizior {
namespace {

using ZRErrors::ZRErrorT;

std::string g_logged;

/// Opens what derived classes may use.
class Message : public ZRCommMsgC {
public:
    using ZRCommMsgC::FromString;
    using ZRCommMsgC::ToString;
    using ZRCommMsgC::ZRCommMsgC;
};

class MessageTest : public ::testing::Test {
protected:
    MessageTest() {
        ZRLogStreamC([](unsigned, int, char* text) { g_logged += text; }, nullptr, nullptr, nullptr);
        g_logged.clear();
    }

    static std::string Written(const Message& message) {
        std::ostringstream stream;
        EXPECT_EQ(message.ToString(stream, 1), ZRErrors::e_General_NoError);
        return stream.str();
    }

    ZRErrorT Read(const std::string& text) {
        std::istringstream stream(text);
        return message.FromString(stream);
    }

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
        {"<ZRCommMsgC m_Nothing=\"1\" />", ZRErrors::e_Arguments_Bad, "Invalid parameter:m_Nothing = 1\n"},
    };
    for (const Reading& reading : readings) {
        SCOPED_TRACE(reading.text);
        g_logged.clear();
        EXPECT_EQ(Read(reading.text), reading.error);
        const std::string from = reading.error == ZRErrors::e_Arguments_Bad ? "StoreParameter" : "FromString";
        EXPECT_EQ(g_logged, *reading.logged ? " ERROR: ZRCommMsgC::" + from + "(): " + reading.logged : "");
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
    Message sharing(message); // shares the text until something is assigned to it
    EXPECT_EQ(sharing.GetMessageString(), message.GetMessageString());
    sharing = message;
    EXPECT_NE(sharing.GetMessageString(), message.GetMessageString());
}

} // namespace
} // namespace gaizior
