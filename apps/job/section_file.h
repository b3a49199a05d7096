#pragma once

#include "apps/job/plate.h"
#include "apps/support/failure.h"

#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace apps {

/// What is wrong with a line; thrown from wherever it is found to the one place that knows the file.
struct Complaint {
    int line;
    std::string text;
};

/// What stands behind a key. A reading function that finds something else complains.
struct Value {
    int line;
    std::string_view text;

    [[noreturn]] void Complain(std::string complaint) const {
        throw Complaint{line, std::move(complaint)};
    }
    /// A length in mm.
    Hundredths Millimetres(Range range) const;
    /// A whole number; its unit may be left out.
    int Number(std::string_view unit, Range range) const;
    /// A name of at most 40 bytes; `whose` begins the complaint: "a job".
    std::string Name(const std::string& whose) const;
};

struct Key {
    std::string name;
    bool isNeeded;
    std::function<void(const Value& value)> set;
};

struct Section {
    std::string name;
    Range count;                         ///< how often it may stand
    std::function<void(int line)> begin; ///< may be empty
    std::vector<Key> keys;
};

/// A kind of file of "key = value" lines in sections, in which '#' begins a comment.
struct Layout {
    std::string kind; ///< "job file"
    std::vector<Section> sections;
    std::function<void()> end = {}; ///< looks at the whole; may be empty
};

std::string Quoted(std::string_view text);

/// Goes through a file and tells the layout's functions what is in it, in the order of its lines.
/// @returns nothing, or why it cannot be used: "FILE:LINE: what is wrong" with Exit::kUsage.
Outcome ReadSections(std::istream& stream, const std::string& name, const Layout& layout);

/// Opens a file for ReadSections. @returns Exit::kNotFound when there is none, Exit::kFailed when it cannot be read.
Outcome OpenSections(const std::string& path, const char* kind, std::ifstream& stream);

} // namespace apps
