#include "benchmarks/compare.h"
#include "benchmarks/subjects.h"
#include "gaizior/comms/message.h"
#include "gaizior/comms/packet.h"

#include <cstdio>
#include <sstream>
#include <string>

#include <pugixml.hpp>

namespace benchmarks {
namespace {

constexpr const char* kString = "EXPOSE PLATE 7 & REPORT";
constexpr const char* kQualifier = "job=newspaper;separation=K;resolution=1270";
constexpr unsigned short kTextSize = 256;

/// The fields of a message with texts of its own.
struct Fields {
    int type = 3;
    int code = 17;
    unsigned id = 256;
    int value = -1;
    std::string string = kString;
    std::string qualifier = kQualifier;
};

void Packets() {
    char buffer[kTextSize];
    long type = 3;
    long code = 17;
    long value = -1;
    unsigned short id = 256;
    Compare("packet create", Repeat([&] {
                Keep(type);
                ZRCreateMessage(type, code, id, value, kString, kQualifier, buffer, sizeof(buffer) - 1);
                Keep(buffer);
            }),
            {{"snprintf", Repeat([&] {
                  Keep(type);
                  std::snprintf(buffer, sizeof(buffer), "%ld;%ld;%hu;%ld;%s;%s", type, code, id, value, kString,
                                kQualifier);
                  Keep(buffer);
              }),
              0.35}});
    alignas(unsigned short) char text[kTextSize];
    ZRCreateMessage(type, code, id, value, kString, kQualifier, text, sizeof(text) - 1);
    char string[kTextSize];
    char qualifier[kTextSize];
    Compare("packet extract", Repeat([&] {
                ZRExtractMessage(reinterpret_cast<const unsigned short*>(text), &type, &code, &id, &value, string,
                                 sizeof(string), qualifier, sizeof(qualifier));
                Keep(qualifier);
            }),
            {{"sscanf", Repeat([&] {
                  std::sscanf(text, "%ld;%ld;%hu;%ld;%255[^;];%255[^\n]", &type, &code, &id, &value, string, qualifier);
                  Keep(qualifier);
              }),
              0.4}});
}

/// The element that a message writes, numbers in decimal.
class Element {
public:
    void Write(const Fields& fields, std::ostream& stream) {
        m_type = fields.type;
        m_code = fields.code;
        m_id = fields.id;
        m_value = fields.value;
        m_string = fields.string.c_str();
        m_qualifier = fields.qualifier.c_str();
        m_document.save(stream, "", pugi::format_raw | pugi::format_no_declaration);
    }

private:
    pugi::xml_document m_document;
    pugi::xml_node m_node = m_document.append_child("ZRCommMsgC");
    pugi::xml_attribute m_type = m_node.append_attribute("m_Type");
    pugi::xml_attribute m_code = m_node.append_attribute("m_Code");
    pugi::xml_attribute m_id = m_node.append_attribute("m_ID");
    pugi::xml_attribute m_value = m_node.append_attribute("m_Val");
    pugi::xml_attribute m_string = m_node.append_attribute("m_pString");
    pugi::xml_attribute m_qualifier = m_node.append_attribute("m_pQualifier");
};

void ReadFields(const pugi::xml_document& document, Fields& fields) {
    const pugi::xml_node node = document.child("ZRCommMsgC");
    fields.type = node.attribute("m_Type").as_int();
    fields.code = node.attribute("m_Code").as_int();
    fields.id = node.attribute("m_ID").as_uint();
    fields.value = node.attribute("m_Val").as_int();
    fields.string = node.attribute("m_pString").as_string();
    fields.qualifier = node.attribute("m_pQualifier").as_string();
}

void ReadXmlForm(const std::string& text, ZRCommMsgC& message) {
    Fields fields;
    std::istringstream in(text);
    const auto rewind = [&] {
        in.clear();
        in.seekg(0);
    };
    pugi::xml_document kept;
    std::string buffer(text.size(), ' ');
    Compare("XML form in a stream to message", Repeat([&] {
                rewind();
                in >> message;
                Keep(message);
            }),
            {{"pugixml", Repeat([&] {
                  rewind();
                  pugi::xml_document document;
                  document.load(in);
                  ReadFields(document, fields);
                  Keep(fields);
              }),
              1.0},
             {"pugixml, document kept, read in place", Repeat([&] {
                  rewind();
                  in.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
                  kept.load_buffer_inplace(buffer.data(), buffer.size());
                  ReadFields(kept, fields);
                  Keep(fields);
              }),
              1.0},
             {"pugixml, from memory", Repeat([&] {
                  pugi::xml_document document;
                  document.load_buffer(text.data(), text.size());
                  ReadFields(document, fields);
                  Keep(fields);
              }),
              0}});
}

void XmlForms() {
    ZRCommMsgC message;
    message.m_Type = 3;
    message.m_Code = 17;
    message.m_ID = 256;
    message.m_Val = -1;
    message.SetMessageString(kString);
    message.SetQualifierString(kQualifier);
    const Fields fields;
    std::ostringstream out;
    Element kept;
    Compare("message to XML form in a stream", Repeat([&] {
                out.seekp(0);
                out << message;
            }),
            {{"pugixml", Repeat([&] {
                  out.seekp(0);
                  Element().Write(fields, out);
              }),
              1.0},
             {"pugixml, document kept", Repeat([&] {
                  out.seekp(0);
                  kept.Write(fields, out);
              }),
              1.0}});
    out.str({});
    kept.Write(fields, out);
    ReadXmlForm(out.str(), message);
}

} // namespace

void Messages() {
    Packets();
    XmlForms();
}

} // namespace benchmarks
