#include "apps/bench/commands.h"
#include "apps/bench/error_guide.h"
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
#include <utility>

namespace apps {
namespace {

constexpr const char* kFunction = "ErrorCommand(): ";

/// What is told about a code; a folded operating-system error is in no table but can be told all the same.
struct Explanation {
    std::uint32_t code;
    std::string name; ///< empty when it has none
    std::string text;
};

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

bool HasOnly(std::string_view word, std::string_view characters) {
    return !word.empty() && word.find_first_not_of(characters) == word.npos;
}

constexpr std::string_view kDecimal = "0123456789";
constexpr std::string_view kHexadecimal = "0123456789abcdefABCDEF";

/// A word that says a number.
struct Number {
    std::string_view digits; ///< "-5" too, as "%ld" writes a code with the highest bit
    int base;
};

/// The number, if it has 32 bits.
std::optional<std::uint32_t> ParseCode(const Number& number) {
    std::int64_t value = 0;
    const char* const end = number.digits.data() + number.digits.size();
    const auto result = std::from_chars(number.digits.data(), end, value, number.base);
    const bool fits = result.ec == std::errc() && value >= INT32_MIN && value <= UINT32_MAX;
    return fits ? std::optional(static_cast<std::uint32_t>(value)) : std::nullopt;
}

const ZRErrorRowT* FindRow(std::uint32_t code) {
    const auto rows = Rows();
    const auto row = std::ranges::find(rows, static_cast<ZRErrors::ZRErrorT>(code), &ZRErrorRowT::nCode);
    return row == rows.end() ? nullptr : &*row;
}

/// What is meant by "57", "-5", "0x39" and "822F"; nothing where the word is none of these. A word of letters alone,
/// such as "bad", is one to search for unless some code is written so.
std::optional<Number> AsNumber(std::string_view word) {
    if (word.starts_with("0x") || word.starts_with("0X")) {
        return HasOnly(word.substr(2), kHexadecimal) ? std::optional(Number{word.substr(2), 16}) : std::nullopt;
    }
    if (HasOnly(word.substr(word.starts_with('-') ? 1 : 0), kDecimal)) {
        return Number{word, 10};
    }
    if (!HasOnly(word, kHexadecimal)) {
        return std::nullopt;
    }
    const Number number{word, 16};
    const std::optional<std::uint32_t> code = ParseCode(number);
    const bool isMeant = word.find_first_of(kDecimal) != word.npos || (code && FindRow(*code));
    return isMeant ? std::optional(number) : std::nullopt;
}

/// The system's text of a folded number; empty where it has none. Both systems say so in a text of its own.
std::string FoldedText(ZRErrors::ZRErrorT code) {
    const std::string text = ErrorText(code);
    return text.starts_with("Unknown error") || text.starts_with("Format message failed.") ? "" : text;
}

/// Why a number is no code, and what was meant perhaps.
std::string UnknownText(const std::string& word, const Number& number, std::uint32_t code) {
    const std::string name = word + " (" + (number.base == 10 ? Hexadecimal(code) : std::to_string(code)) + ")";
    const auto folded = static_cast<ZRErrors::ZRErrorT>(code);
    if (gaizior::IsFolded(folded) && code <= INT32_MAX) {
        return name + " is number " + std::to_string(gaizior::FoldedNumber(folded)) + " of the " + OriginOf(code) +
               ", which has no text for it";
    }
    const ZRErrorRowT* const meant =
        number.base == 10 ? FindRow(ParseCode({number.digits, 16}).value_or(code)) : nullptr;
    const char* const origin = OriginOf(code);
    return name + " is no code of this system" +
           (meant    ? " (did you mean " + Hexadecimal(meant->nCode) + "?)"
            : origin ? std::string(" (about there: ") + origin + ")"
                     : "");
}

/// What became of the codes that were asked for.
struct Answer {
    std::vector<Explanation> found;
    std::string unknown; ///< why others are none
};

Outcome FindByCode(const std::string& word, const Number& number, Answer& answer) {
    const std::optional<std::uint32_t> code = ParseCode(number);
    if (!code) {
        return Fail(kFunction, kInvalidParameter, Exit::kUsage, word + " is no code: codes have 32 bits");
    }
    const auto folded = static_cast<ZRErrors::ZRErrorT>(*code);
    const std::string text = gaizior::IsFolded(folded) ? FoldedText(folded) : "";
    if (const ZRErrorRowT* const row = FindRow(*code)) {
        answer.found.push_back(FromRow(*row));
    } else if (!text.empty()) {
        answer.found.push_back({*code, {}, text});
    } else {
        answer.unknown += (answer.unknown.empty() ? "" : "; ") + UnknownText(word, number, *code);
    }
    return std::nullopt;
}

const ZRErrorRowT* FindByName(const std::string& word) {
    const auto rows = Rows();
    const auto row = std::ranges::find_if(
        rows, [lower = Lower(word)](const ZRErrorRowT& r) { return r.pName && Lower(r.pName) == lower; });
    return row == rows.end() ? nullptr : &*row;
}

/// Whether each word is a code or an enumerator; else they are to be searched for.
bool AreCodes(const std::vector<std::string>& words) {
    return std::ranges::all_of(words, [](const std::string& word) { return FindByName(word) || AsNumber(word); });
}

Outcome FindEach(const std::vector<std::string>& words, Answer& answer) {
    for (const std::string& word : words) {
        if (const ZRErrorRowT* const row = FindByName(word)) {
            answer.found.push_back(FromRow(*row));
        } else if (Outcome failure = FindByCode(word, *AsNumber(word), answer)) {
            return failure;
        }
    }
    return std::nullopt;
}

/// Rows that have every word in their text or name.
Outcome FindByWords(const std::vector<std::string>& words, std::vector<Explanation>& found) {
    std::vector<std::string> names;
    std::vector<std::string> wanted;
    std::ranges::transform(words, std::back_inserter(wanted), Lower);
    for (const ZRErrorRowT& row : Rows()) {
        const Explanation candidate = FromRow(row);
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
    const auto orEmpty = [](const char* text) { return text ? text : ""; };
    JsonArray errors;
    for (const Explanation& error : found) {
        JsonObject object;
        object.Number("code", error.code).Text("hex", Hexadecimal(error.code));
        object.TextOrNull("name", error.name).Text("text", error.text);
        object.TextOrNull("origin", orEmpty(OriginOf(error.code)));
        object.TextOrNull("device", orEmpty(DeviceOf(error.code)));
        object.TextOrNull("next", orEmpty(NextStepFor(error.code)));
        errors.Add(object.Json());
    }
    return JsonObject().Value("errors", errors.Json()).Json();
}

void PrintField(const char* name, const std::string& text, std::size_t columns) {
    constexpr std::size_t kIndent = 10;
    if (!text.empty()) {
        std::printf("%s", Wrapped("  " + Padded(name, kIndent - 2), text, " ", kIndent, columns).c_str());
    }
}

void PrintOne(const Explanation& error, std::size_t columns) {
    const auto orEmpty = [](const char* text) { return std::string(text ? text : ""); };
    std::printf("%s", Wrapped("", Printable(error.text), " ", 2, columns).c_str());
    PrintField("code", std::to_string(error.code) + ", " + Hexadecimal(error.code), columns);
    PrintField("name", error.name, columns);
    PrintField("origin", orEmpty(OriginOf(error.code)), columns);
    PrintField("device", orEmpty(DeviceOf(error.code)), columns);
    PrintField("next", orEmpty(NextStepFor(error.code)), columns);
}

void PrintEach(const std::vector<Explanation>& found) {
    const char* gap = "";
    for (const Explanation& error : found) {
        std::printf("%s", std::exchange(gap, "\n"));
        PrintOne(error, OutputColumns());
    }
}

void PrintList(const std::vector<Explanation>& found) {
    for (const Explanation& error : found) {
        std::array<char, 32> head{};
        const int length = std::snprintf(head.data(), head.size(), "%8s  %5u  ", Hexadecimal(error.code).c_str(),
                                         static_cast<unsigned>(error.code));
        std::printf("%s",
                    Wrapped(head.data(), Printable(error.text), " ", static_cast<std::size_t>(length), OutputColumns())
                        .c_str());
    }
}

} // namespace

Outcome ErrorCommand(const ErrorOptions& options) {
    if (std::ranges::find(options.words, "") != options.words.end()) {
        return Fail(kFunction, kInvalidParameter, Exit::kUsage,
                    "an empty word explains nothing: write a code, an enumerator or words, as in 'bench error 57'");
    }
    Answer answer;
    const bool areCodes = AreCodes(options.words);
    if (Outcome failure = areCodes ? FindEach(options.words, answer) : FindByWords(options.words, answer.found)) {
        return failure;
    }
    if (options.json && !answer.found.empty()) {
        std::printf("%s\n", AsJson(answer.found).c_str());
    } else if (areCodes || answer.found.size() == 1) {
        PrintEach(answer.found);
    } else {
        PrintList(answer.found);
    }
    if (!answer.unknown.empty()) {
        return Fail(kFunction, kNameNotFound, Exit::kNotFound,
                    answer.unknown + ": search for words of its text, as in 'bench error plate wide'");
    }
    return std::nullopt;
}

} // namespace apps
