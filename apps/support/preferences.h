#pragma once

#include <array>

namespace apps {

// Where an imager's preferences stand: below the company's key the product's, in it the imagers', in it one for each
// communications ID.
inline constexpr const char* kProductPart = "Platesetter";
inline constexpr const char* kImagerPart = "Imager";

// Their names. What a user has not set the machine's level tells.
inline constexpr const char* kLogLevelPref = "LogLevel";         ///< lines below this level are kept in the log
inline constexpr const char* kHistoryLinesPref = "HistoryLines"; ///< so many plates the history keeps, 1 at least
inline constexpr const char* kPlatesPref = "PlatesExposed";      ///< counted by the imager
inline constexpr const char* kLastJobPref = "LastJob";           ///< of which it exposed a plate
inline constexpr const char* kVersionPref = "Version";           ///< the imager's, also at the machine's level

inline constexpr std::array kNumberPrefs = {kLogLevelPref, kHistoryLinesPref, kPlatesPref}; ///< the others are texts

} // namespace apps
