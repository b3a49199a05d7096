#pragma once

/// @file
/// A message as an object.

#include "gaizior/errors/error_codes.h"
#include "gaizior/platform/export.h"

#include <cstdint>
#include <istream>
#include <ostream>

/// One command or reply between processes: type, code, ID, value and two texts. The stream operators write and read it
/// as an element of XML or, with the format flag off, read it from its packet text.
///
/// An object belongs to one thread at a time. It owns its texts, at most 65,534 characters each.
class GAIZIOR_API ZRCommMsgC {
public:
    /// An empty message; `bXML` chooses the text form.
    explicit ZRCommMsgC(bool bXML = true);
    /// Copies share the texts, a decision of this system, until one of them gets others; assignment duplicates them.
    /// Whoever gives a shared text up last frees it. Copies may belong to different threads.
    ZRCommMsgC(const ZRCommMsgC& other);
    /// When memory runs out the failure is logged and nothing is changed.
    ZRCommMsgC& operator=(const ZRCommMsgC& other);
    virtual ~ZRCommMsgC();

    /// Gives both texts up.
    void Clear();
    /// @returns the format flag before; not 0 is XML.
    int SetFormat(int format);

    /// Stores a copy of a text, of which the present one may be a part; null and "" store null.
    /// @returns 0; e_Buffer_TooSmall for a text of 65,535 characters or more, e_Memory_AllocationFailed: nothing is
    ///   changed then, and the failure is logged.
    /// @{
    ZRErrors::ZRErrorT SetMessageString(const char* text);
    ZRErrors::ZRErrorT SetQualifierString(const char* text);
    /// @}
    /// @returns the stored text, the object's, or null.
    /// @{
    const char* GetMessageString() const;
    const char* GetQualifierString() const;
    /// @}

    /// Writes the text form. Of the packet form nothing is written, a decision of this system: it goes through
    /// ZRCreateMessage. The stream is left in hexadecimal.
    friend GAIZIOR_API std::ostream& operator<<(std::ostream& stream, ZRCommMsgC& message);
    /// Reads the text form: the next element, or all there is as one packet text. What was read before a failure stays;
    /// the failure is logged and sets the stream's failbit. So does a stream with nothing left, which is no failure and
    /// not logged: `while (stream >> message)` ends with the stream in either form.
    friend GAIZIOR_API std::istream& operator>>(std::istream& stream, ZRCommMsgC& message);

    std::int32_t m_Type = 0; ///< what kind of message it is; applications agree on the numbers
    std::int32_t m_Code = 0; ///< which one of that kind
    std::uint16_t m_ID = 0;  ///< communications ID of the sender
    std::int32_t m_Val = 0;  ///< the message's number

protected:
    /// Writes the text form, and a NUL behind it when `noTerminator` is 0.
    /// @returns 0; e_Xml_WriteFailed when the stream does not take the XML form, which is logged; for the packet form
    ///   what ZRCreateMessage returns for 256 bytes.
    ZRErrors::ZRErrorT ToString(std::ostream& stream, int noTerminator) const;
    /// Reads the text form; see operator>>. A packet form sets the stream's eofbit, and its failbit where nothing was.
    /// @returns 0; for XML e_Object_InvalidName, e_Xml_ReadFailed, e_Xml_SeekFailed,
    ///   e_Arguments_Bad for an attribute of another name, what SetMessageString returns; for the packet form what
    ///   ZRExtractMessage returns.
    ZRErrors::ZRErrorT FromString(std::istream& stream);

private:
    ZRErrors::ZRErrorT Clone(const ZRCommMsgC& other);
    static ZRErrors::ZRErrorT DuplicateString(const char* text, char** copy, std::uint16_t* length);

    ZRErrors::ZRErrorT ToQ2String() const;
    ZRErrors::ZRErrorT ToXMLString(std::ostream& stream) const;
    ZRErrors::ZRErrorT FromQ2String(std::istream& stream);
    ZRErrors::ZRErrorT FromXMLString(std::istream& stream);
    ZRErrors::ZRErrorT StoreParameter(const char* name, const char* value);

protected:
    std::uint16_t m_nStringLength = 0;    ///< with the NUL; 0 when there is no text
    std::uint16_t m_nQualifierLength = 0; ///< as m_nStringLength
    char* m_pString = nullptr;            ///< the message string, which copies may share; null for none
    char* m_pQualifier = nullptr;         ///< the qualifier string, likewise
    int m_nFormat;                        ///< not 0: XML
};
