#pragma once

#include "gaizior/errors/error_codes.h"

#include <istream>
#include <string>

namespace gaizior {

/// Reads one element of attributes, <NAME A="..." B="..." />, character by character from a stream, and no character
/// beyond its end. Each function logs its failure.
class XmlReader {
public:
    explicit XmlReader(std::istream& stream) : m_buffer(*stream.rdbuf()) {}

    /// Goes on to the next element and reads its name. @returns 0 or e_Xml_ReadFailed.
    ZRErrors::ZRErrorT ReadObjectName(std::string& name);
    /// Skips white characters. @returns whether the element ends here; its end is consumed then.
    bool AtEnd();
    /// Reads the next attribute with its entities decoded. @returns 0, e_Xml_ReadFailed or e_Xml_SeekFailed.
    ZRErrors::ZRErrorT ReadParameter(std::string& name, std::string& value);

private:
    void SkipWhite();
    bool EndsHere();
    int NextInside();

    std::streambuf& m_buffer;
};

/// Decodes the entities of an attribute's value in place. @returns whether all could be.
bool DecodeEntities(std::string& value);

/// Logs what went wrong while a message was read.
void LogReadFailure(const std::string& what);

} // namespace gaizior
