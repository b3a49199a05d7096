#pragma once

/// @file
/// A text of single bytes.

#include "gaizior/platform/export.h"
#include "gaizior/platform/printf_format.h"

#include <concepts>
#include <cstdarg>
#include <string>

/// An owning text of single bytes; no code page is assumed. Positions and lengths are counted in bytes from 0. Nothing
/// here fails on a position: those before the text count as 0, those behind it find nothing. A null text counts as
/// empty everywhere. Memory that runs out throws std::bad_alloc. An object belongs to one thread at a time.
class GAIZIOR_API ZRCString {
public:
    /// An empty text.
    ZRCString();
    /// A copy of the text.
    /// @{
    ZRCString(const char* text);
    ZRCString(const ZRCString& other);
    /// @}
    virtual ~ZRCString();

    /// Makes the text a copy of the other.
    ZRCString& operator=(const ZRCString& other);
    /// Makes the text this one character.
    ZRCString& operator=(char character);
    /// Appends; the text may be this one or a part of it.
    /// @{
    ZRCString& operator+=(const char* text);
    ZRCString& operator+=(const ZRCString& other);
    ZRCString& operator+=(char character);
    /// @}

    /// @returns the characters and a NUL; the object's, valid until the text changes. Never null.
    operator const char*() const;

    /// @returns 1 for an empty text, else 0.
    int IsEmpty() const;
    /// Erases everything.
    void Empty();
    /// @returns the number of characters without the NUL.
    int GetLength() const;

    /// @returns the first position, from `start` on, of the character or the text; -1 when it is not there.
    /// @{
    int Find(char character) const;
    int Find(const char* text) const;
    int Find(char character, int start) const;
    int Find(const char* text, int start) const;
    /// @}

    /// @returns the first or the last `count` characters; none for a count below 1, all for one beyond the length.
    /// @{
    ZRCString Left(int count) const;
    ZRCString Right(int count) const;
    /// @}
    /// @returns up to `count` characters from `first` on; none for a count below 1.
    ZRCString Mid(int first, int count) const;
    /// @returns the ONE character at `first`, not the rest of the text. That is a decision of this system.
    ZRCString Mid(int first) const;

    /// @returns the character at a position; NUL outside the text.
    /// @{
    char GetAt(int position) const;
    char operator[](int position) const;
    /// @}
    /// The same for integers of every other type, beside which the conversion to const char* would be a rival.
    template <std::integral Position>
    char operator[](Position position) const {
        const auto wide = static_cast<long long>(position);
        return wide >= 0 && wide < GetLength() ? GetAt(static_cast<int>(wide)) : '\0';
    }

    /// @returns whether the texts are the same, all bytes of them; a null text counts as empty.
    /// @{
    bool operator==(const ZRCString& other) const;
    bool operator==(const char* other) const;
    /// @}
    /// @returns below, equal to or above 0 as this text sorts before, with or behind the other, byte by byte.
    int Compare(const char* other) const;
    /// The same with A to Z taken as a to z.
    int CompareNoCase(const char* other) const;

    /// Replaces the text by what C99's printf makes of the arguments, which may refer to the present text. It becomes
    /// empty when that fails. As with printf the C locale of the process has its say: in the point of a real number, in
    /// what wide characters become.
    /// @{
    void Format(const char* format, ...) GAIZIOR_PRINTF(2, 3);
    void FormatV(const char* format, std::va_list arguments) GAIZIOR_PRINTF(2, 0);
    /// @}

private:
    std::string m_text;
};

/// The two texts, or the text and the character, in the order written.
/// @{
GAIZIOR_API ZRCString operator+(const ZRCString& left, const ZRCString& right);
GAIZIOR_API ZRCString operator+(const ZRCString& left, const char* right);
GAIZIOR_API ZRCString operator+(const char* left, const ZRCString& right);
GAIZIOR_API ZRCString operator+(const ZRCString& left, char right);
GAIZIOR_API ZRCString operator+(char left, const ZRCString& right);
/// @}
