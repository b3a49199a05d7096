#pragma once

#include "apps/job/plate.h"
#include "apps/support/failure.h"

#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace apps {

/// What is wrong with a line; thrown from wherever it is found to the one place that collects them.
struct Complaint {
    int line;
    std::string text;
};

/// One behind which nothing of the file is worth a look: it is of another kind, or not to be read.
struct LastComplaint : Complaint {};

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
    /// A name of at most 40 characters; `whose` begins the complaint: "a job".
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

/// What a file of another kind is taken for by who mixes them up.
struct OtherKind {
    std::string section; ///< the only one that stands in it
    std::string complaint;
};

/// A kind of file of "key = value" lines in sections. A '#' at a line's beginning, or with a blank on either side,
/// begins a comment; "Plate #4" is a value.
struct Layout {
    std::string kind; ///< "job file"
    std::vector<Section> sections;
    std::function<std::vector<Complaint>()> end = {}; ///< looks at the whole; may be empty
    OtherKind other = {};
};

/// Behind the names that a message has no room for.
inline constexpr const char* kNamesTooLong =
    "do not fit into a message: shorten them, letters beyond ASCII take two bytes and more";

std::string Quoted(std::string_view text);

/// Goes through a file and tells the layout's functions what is in it, in the order of its lines. What has a complaint
/// is passed over; a mistyped section or key is read as the one that is meant, so that it has one complaint alone.
/// @returns all that is wrong, in the order in which it shows; nothing when the file is in order.
std::vector<Complaint> ReadSections(std::istream& stream, const Layout& layout);

/// The first complaint as a failure: "FILE:LINE: what is wrong, and 3 more" with Exit::kUsage, and behind it, unless it
/// is empty, the command that tells all of them. @returns nothing when there is none.
Outcome ToOutcome(const std::vector<Complaint>& complaints, const std::string& name, const std::string& command);

/// Opens a file for ReadSections. @returns Exit::kNotFound when there is none, Exit::kFailed when it cannot be read.
Outcome OpenSections(const std::string& path, const char* kind, std::ifstream& stream);

} // namespace apps
