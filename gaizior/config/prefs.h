#pragma once

/// @file
/// Settings that applications keep, for the machine and for each of its users.

#include "gaizior/config/registry.h"
#include "gaizior/errors/error_codes.h"
#include "gaizior/logging/strstream.h"
#include "gaizior/platform/export.h"
#include "gaizior/platform/windows_api.h"

/// Keeps named settings in the registry, below "SOFTWARE\Korvane Designs\" and three parts of a path: parameters of the
/// application, which are the machine's, and of the user, of which the machine may have a copy.
///
///     CZRPrefs prefs("Imager", "Screening", "1.0");
///     prefs.SaveUsrParam("Resolution", 2540.0, 0);
///     const double resolution = prefs.LoadUsrParam("Resolution", 1270.0, 0);
///
/// What is loaded is the caller's default where nothing of that name and kind can be read; a load writes nothing. Names
/// ignore case. Failures are logged. Several threads may use one object, and processes the same settings.
class GAIZIOR_API CZRPrefs : public ZRRegistryC {
public:
    /// The folder of all products.
    static const char* const m_pPathRoot;

    /// The parts are kept as pointers: the texts have to outlive the object and its copies.
    CZRPrefs(const char* part1, const char* part2, const char* part3);
    /// Copies share the texts.
    /// @{
    CZRPrefs(const CZRPrefs&) = default;
    CZRPrefs& operator=(const CZRPrefs&) = default;
    /// @}
    ~CZRPrefs() override;

    /// Saves a setting of the machine's. A number keeps its low 32 bits, a double its every bit but those of a NaN.
    /// @returns 0; 2006 e_Arguments_Bad for a null name, text or part of the path; the system's number with bit 29 set,
    ///   as 0x20000005 where the user may not write: then the old value is still there.
    /// @{
    ZRErrors::ZRErrorT SaveAppParam(const char* name, unsigned long value);
    ZRErrors::ZRErrorT SaveAppParam(const char* name, double value);
    ZRErrors::ZRErrorT SaveAppParam(const char* name, const char* value);
    /// @}

    /// Loads a setting of the machine's.
    /// @returns it, or the default. A text is the caller's, who gives it back to FreeText; an empty one counts as
    ///   missing, a null default as an empty one, and null comes where there is no memory for it.
    /// @{
    unsigned long LoadAppParam(const char* name, unsigned long defaultValue);
    double LoadAppParam(const char* name, double defaultValue);
    char* LoadAppParam(const char* name, const char* defaultValue);
    /// @}

    /// Saves a setting of the user's, and other than 0 in `alsoMachine` then the machine's copy.
    /// @returns as SaveAppParam; after a failure of the first the second is not tried.
    /// @{
    ZRErrors::ZRErrorT SaveUsrParam(const char* name, int value, int alsoMachine);
    ZRErrors::ZRErrorT SaveUsrParam(const char* name, unsigned int value, int alsoMachine);
    ZRErrors::ZRErrorT SaveUsrParam(const char* name, unsigned long value, int alsoMachine);
    ZRErrors::ZRErrorT SaveUsrParam(const char* name, double value, int alsoMachine);
    ZRErrors::ZRErrorT SaveUsrParam(const char* name, const char* value, int alsoMachine);
    /// @}

    /// Loads a setting of the user's; other than 0 in `fromMachine`, the machine's copy.
    /// @returns as LoadAppParam. Of an int it is meant that it tells but yes or no: 1 for every value, and every
    ///   default, that is not 0.
    /// @{
    int LoadUsrParam(const char* name, int defaultValue, int fromMachine);
    unsigned int LoadUsrParam(const char* name, unsigned int defaultValue, int fromMachine);
    unsigned long LoadUsrParam(const char* name, unsigned long defaultValue, int fromMachine);
    double LoadUsrParam(const char* name, double defaultValue, int fromMachine);
    char* LoadUsrParam(const char* name, const char* defaultValue, int fromMachine);
    /// @}

    /// @returns 1 when the key of the user's settings is there and can be opened, else 0.
    int bIsUsrSectionValid();

    /// Opens the product's key, "SOFTWARE\Korvane Designs\" and the first part, of the user's level, without making it.
    /// @param key receives it; the caller gives it to RegCloseKey. Null on a failure.
    /// @returns 0; 2006 e_Arguments_Bad for a null `key` or first part; 0x20000002 where there is none.
    ZRErrors::ZRErrorT GetProductKey(HKEY* key);

    /// Releases a text that was loaded; null is left alone. Any thread.
    static void FreeText(char* text);

protected:
    /// Opens the key of the settings: other than 0 in `user` the user's, else the machine's; in `create`, makes it.
    /// @returns as ZRRegistryC::OpenKey.
    ZRErrors::ZRErrorT GetProductKey(HKEY* key, int user, int create);
    /// Writes a value. @returns as SaveAppParam.
    ZRErrors::ZRErrorT Save(const char* name, const unsigned char* data, unsigned long type, unsigned int size,
                            int user);
    /// Reads a number, or appends a text. @returns whether that is what was there; 0x20000002 when it was another type.
    /// @{
    ZRErrors::ZRErrorT Load(const char* name, unsigned long* const value, int user);
    ZRErrors::ZRErrorT Load(const char* name, std::ostrstream& text, int user);
    /// @}

private:
    ZRErrors::ZRErrorT SaveNumber(const char* name, unsigned long value, int user);
    ZRErrors::ZRErrorT SaveText(const char* name, const char* value, int user);

    const char* m_pPart1; // the product
    const char* m_pPart2;
    const char* m_pPart3;
};
