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
    Compare("create a packet", Repeat([&] {
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
    Compare("extract a packet", Repeat([&] {
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

/// Writes the same element as a message does, numbers in decimal.
void WriteWithPugixml(const Fields& fields, std::ostream& stream) {
    pugi::xml_document document;
    pugi::xml_node node = document.append_child("ZRCommMsgC");
    node.append_attribute("m_Type") = fields.type;
    node.append_attribute("m_Code") = fields.code;
    node.append_attribute("m_ID") = fields.id;
    node.append_attribute("m_Val") = fields.value;
    node.append_attribute("m_pString") = fields.string.c_str();
    node.append_attribute("m_pQualifier") = fields.qualifier.c_str();
    document.save(stream, "", pugi::format_raw | pugi::format_no_declaration);
}

void ReadFields(const pugi::xml_document& document, Fields& fields) {
    const pugi::xml_node node = document.child("ZRCommMsgC");
    fields.type = node.attribute("m_Type").as_int();
    fields.code = node.attribute("m_Code").as_int();
    fields.id = node.attribute("m_ID").as_uint();
    fields.value = node.attribute("m_Val").as_int();
    fields.string = node.attribute("m_pString").as_string();
    fields.qualifier = node.attribute("m_pQualifier").as_string();
}

void XmlForms() {
    ZRCommMsgC message;
    message.m_Type = 3;
    message.m_Code = 17;
    message.m_ID = 256;
    message.m_Val = -1;
    message.SetMessageString(kString);
    message.SetQualifierString(kQualifier);
    Fields fields;
    std::ostringstream out;
    Compare("message to its XML form in a stream", Repeat([&] {
                out.seekp(0);
                out << message;
            }),
            {{"pugixml", Repeat([&] {
                  out.seekp(0);
                  WriteWithPugixml(fields, out);
              }),
              1.0}});
    out.str({});
    WriteWithPugixml(fields, out);
    const std::string text = out.str();
    std::istringstream in(text);
    const auto rewind = [&] {
        in.clear();
        in.seekg(0);
    };
    Compare("XML form in a stream to a message", Repeat([&] {
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
             {"pugixml, from memory", Repeat([&] {
                  pugi::xml_document document;
                  document.load_buffer(text.data(), text.size());
                  ReadFields(document, fields);
                  Keep(fields);
              }),
              0}});
}

} // namespace

void Messages() {
    Packets();
    XmlForms();
}

} // namespace benchmarks
