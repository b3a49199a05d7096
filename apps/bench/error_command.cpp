#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "apps/support/suggest.h"
#include "gaizior/errors/error_table.h"
#include "gaizior/errors/folded_code.h"
#include "gaizior/values/ascii.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <optional>
#include <span>

namespace apps {
namespace {

constexpr const char* kFunction = "ErrorCommand(): ";

/// What is told about a code; a folded operating-system error is in no table but can be told all the same.
struct Explanation {
    std::uint32_t code;
    std::string name; ///< empty when it has none
    std::string text;
};

/// Where codes come from: the classes are ranges of their numbers.
struct Origin {
    std::uint32_t first;
    std::uint32_t last;
    const char* name;
};
constexpr std::uint32_t kSystemError = gaizior::kSystemErrorFlag;
constexpr std::uint32_t kRunTimeError = gaizior::kSystemErrorFlag | gaizior::kRunTimeErrorFlag;
constexpr std::array kOrigins = {
    Origin{0x0000, 0x0013, "general result"},
    Origin{0x0014, 0x012B, "device driver and data transfer"},
    Origin{0x012C, 0x031F, "commands to the imagesetter over the serial line"},
    Origin{0x0320, 0x05DB, "reply or state reported by the imagesetter"},
    Origin{0x05DC, 0x07D0, "registration of a caller with a server"},
    Origin{0x07D1, 0x0897, "library: memory, files, arguments, handles, waits, threads"},
    Origin{0x0898, 0x0BB6, "image files and the imager"},
    Origin{0x0BB7, 0x1B57, "processes"},
    Origin{0x1B58, 0x2325, "plotter configuration"},
    Origin{0x2326, 0x23F3, "image compression"},
    Origin{0x23F4, 0x2453, "XML and registry data"},
    Origin{0x2454, 0x24B7, "calibration header of a board"},
    Origin{0x24B8, 0x251B, "GUIDs"},
    Origin{0x4100, 0x423F, "timing and bus"},
    Origin{0x4240, 0x4FFF, "bench test application"},
    Origin{0x5000, 0x50FF, "system, critical sections, threads, events"},
    Origin{0x5100, 0x7FFF, "device of the machine"},
    Origin{0x8000, 0x801F, "EEPROM"},
    Origin{0x8020, 0x81FF, "CAN bus"},
    Origin{0x8200, 0x82FF, "CAN bus driver and link to the imaging engine"},
    Origin{0x8300, 0x837F, "sounds"},
    Origin{0x8380, 0x8FFF, "XML objects"},
    Origin{0x9000, 0x9FFF, "exposer"},
    Origin{0xA000, 0xBFFF, "plate handling system"},
    Origin{0xC000, 0xFFFE, "auto-unloader"},
    Origin{0x10000, 0x1FFFF, "firmware of the recorder"},
    Origin{kSystemError, kRunTimeError - 1, "operating system"},
    Origin{kRunTimeError, 0x7FFFFFFF, "C run-time library"},
};

const char* OriginOf(std::uint32_t code) {
    const auto* origin =
        std::ranges::find_if(kOrigins, [=](const Origin& o) { return code >= o.first && code <= o.last; });
    return origin == kOrigins.end() ? nullptr : origin->name;
}

std::span<const ZRErrorRowT> Rows() {
    unsigned count = 0;
    const ZRErrorRowT* rows = ZRErrorRows(&count);
    return {rows, count};
}

Explanation FromRow(const ZRErrorRowT& row) {
    return {row.nCode, row.pName ? row.pName : "", row.pText};
}

std::string Lower(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), gaizior::ToLowerAscii);
    return lower;
}

std::string Hexadecimal(std::uint32_t code) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%X", static_cast<unsigned>(code));
    return text.data();
}

/// "57", "-5" (as "%ld" writes a code with the highest bit) or "0x39": digits, whatever their value.
bool IsNumber(std::string_view word) {
    const bool hexadecimal = word.starts_with("0x") || word.starts_with("0X");
    word.remove_prefix(hexadecimal ? 2 : word.starts_with('-') ? 1 : 0);
    const std::string_view digits = hexadecimal ? "0123456789abcdefABCDEF" : "0123456789";
    return !word.empty() && word.find_first_not_of(digits) == word.npos;
}

/// The number, if it has 32 bits.
std::optional<std::uint32_t> ParseCode(std::string_view word) {
    const bool hexadecimal = word.starts_with("0x") || word.starts_with("0X");
    word.remove_prefix(hexadecimal ? 2 : 0);
    std::int64_t number = 0;
    const auto result = std::from_chars(word.data(), word.data() + word.size(), number, hexadecimal ? 16 : 10);
    const bool fits = result.ec == std::errc() && number >= INT32_MIN && number <= UINT32_MAX;
    return fits ? std::optional(static_cast<std::uint32_t>(number)) : std::nullopt;
}

Outcome FindByCode(const std::string& word, std::vector<Explanation>& found) {
    const std::optional<std::uint32_t> code = ParseCode(word);
    if (!code) {
        return Fail(kFunction, kInvalidParameter, Exit::kUsage, word + " is no code: codes have 32 bits");
    }
    if (const auto folded = static_cast<ZRErrors::ZRErrorT>(*code); gaizior::IsFolded(folded)) {
        found.push_back({*code, {}, ErrorText(folded)});
        return std::nullopt;
    }
    const auto rows = Rows();
    const auto row = std::ranges::find(rows, static_cast<ZRErrors::ZRErrorT>(*code), &ZRErrorRowT::nCode);
    if (row == rows.end()) {
        const char* origin = OriginOf(*code);
        return Fail(kFunction, kNameNotFound, Exit::kNotFound,
                    std::to_string(*code) + " (" + Hexadecimal(*code) + ") is no code of this system" +
                        (origin ? std::string(" (its range: ") + origin + ")" : "") +
                        ": search for its words, as in 'bench error plate wide'");
    }
    found.push_back(FromRow(*row));
    return std::nullopt;
}

/// Rows that have every word in their text or name; a word that is a name finds that row alone.
Outcome FindByWords(const std::vector<std::string>& words, std::vector<Explanation>& found) {
    std::vector<std::string> names;
    std::vector<std::string> wanted;
    std::ranges::transform(words, std::back_inserter(wanted), Lower);
    for (const ZRErrorRowT& row : Rows()) {
        const Explanation candidate = FromRow(row);
        if (wanted.size() == 1 && Lower(candidate.name) == wanted.front()) {
            found = {candidate};
            return std::nullopt;
        }
        const std::string text = Lower(candidate.text + " " + candidate.name);
        if (std::ranges::all_of(wanted, [&](const std::string& word) { return text.find(word) != text.npos; })) {
            found.push_back(candidate);
        }
        names.push_back(candidate.name);
    }
    if (!found.empty()) {
        return std::nullopt;
    }
    std::string query;
    for (const std::string& word : words) {
        query += (query.empty() ? "" : " ") + word;
    }
    return Fail(kFunction, kNameNotFound, Exit::kNotFound,
                "no code has '" + query + "' in its text or its name" + Suggestion(query, names) +
                    ": try fewer or other words");
}

std::string AsJson(const std::vector<Explanation>& found) {
    JsonArray errors;
    for (const Explanation& error : found) {
        JsonObject object;
        object.Number("code", error.code).Text("hex", Hexadecimal(error.code));
        error.name.empty() ? object.Null("name") : object.Text("name", error.name);
        object.Text("text", error.text);
        const char* origin = OriginOf(error.code);
        origin ? object.Text("origin", origin) : object.Null("origin");
        errors.Add(object.Json());
    }
    return JsonObject().Value("errors", errors.Json()).Json();
}

void PrintOne(const Explanation& error) {
    std::printf("%s\n", Printable(error.text).c_str());
    std::printf("  code    %lld, %s\n", static_cast<long long>(error.code), Hexadecimal(error.code).c_str());
    if (!error.name.empty()) {
        std::printf("  name    %s\n", error.name.c_str());
    }
    if (const char* origin = OriginOf(error.code)) {
        std::printf("  origin  %s\n", origin);
    }
}

void PrintList(const std::vector<Explanation>& found) {
    constexpr std::size_t kBeforeText = 17;
    const std::size_t columns = OutputColumns();
    for (const Explanation& error : found) {
        std::printf("%8s  %5u  %s\n", Hexadecimal(error.code).c_str(), static_cast<unsigned>(error.code),
                    Shortened(Printable(error.text), columns > kBeforeText ? columns - kBeforeText : 1).c_str());
    }
}

} // namespace

Outcome ErrorCommand(const ErrorOptions& options) {
    std::vector<Explanation> found;
    const bool isCode = options.words.size() == 1 && IsNumber(options.words.front());
    if (Outcome failure = isCode ? FindByCode(options.words.front(), found) : FindByWords(options.words, found)) {
        return failure;
    }
    if (options.json) {
        std::printf("%s\n", AsJson(found).c_str());
    } else if (found.size() == 1) {
        PrintOne(found.front());
    } else {
        PrintList(found);
    }
    return std::nullopt;
}

} // namespace apps
