#pragma once

#include "gaizior/errors/error_codes.h"

#include <istream>
#include <span>
#include <string>
#include <string_view>

namespace gaizior {

/// Takes one element of attributes, <NAME A="..." B="..." />, from a stream, and no character beyond its end; then
/// reads it part by part. The first "/>" ends it, wherever it stands. Each function logs its failure.
class XmlReader {
public:
    /// Takes all up to the end of the next element, or all there is when none ends.
    /// @param function names the owner's method in log lines, "Class::Method(): "; it is borrowed.
    XmlReader(std::istream& stream, const char* function);

    XmlReader(const XmlReader&) = delete;
    XmlReader& operator=(const XmlReader&) = delete;

    /// Reads the name. @returns 0 or e_Xml_ReadFailed.
    ZRErrors::ZRErrorT ReadObjectName(std::string_view& name);
    /// Skips white characters. @returns whether the element ends here.
    bool AtEnd();
    /// Reads the next attribute with its entities decoded. Both texts are the reader's, valid until the next call.
    /// @returns 0, e_Xml_ReadFailed or e_Xml_SeekFailed.
    ZRErrors::ZRErrorT ReadParameter(const char*& name, const char*& value);

private:
    template <typename Ends>
    bool TakeUpTo(Ends ends, std::span<char>& text);

    const char* m_pFunction;
    std::string m_element; ///< what stands between "<" and "/>"; texts that are taken from it are ended in it
    std::span<char> m_rest;
    std::string m_value;   ///< the last one that had entities
    bool m_bEnded = false; ///< by "/>" and not by the end of the stream
};

} // namespace gaizior
