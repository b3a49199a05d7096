#pragma once

/// @file
/// The standard's dynamic character buffer, std::strstreambuf. Its header is deprecated, but the log stream's buffer
/// is one; what announces the deprecation is switched off around this one include, for every compiler alike.
#include <istream>
#include <ostream>

#pragma push_macro("__DEPRECATED")
#undef __DEPRECATED
#include <strstream>
#pragma pop_macro("__DEPRECATED")
