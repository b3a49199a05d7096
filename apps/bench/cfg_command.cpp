#include "apps/bench/commands.h"
#include "apps/bench/output.h"
#include "apps/bench/scratch_file.h"
#include "gaizior/config/read_cfg.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <system_error>

namespace apps {
namespace {

namespace fs = std::filesystem;

/// As few digits as tell the number exactly.
std::string NumberText(double value) {
    std::array<char, 32> digits{};
    return {digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr};
}

Outcome Open(const char* function, ZRReadCfgC& reader, const std::string& path) {
    const auto code = reader.OpenFileName(path.c_str());
    if (code == ZRErrors::e_General_NoError) {
        return std::nullopt;
    }
    std::error_code none;
    const bool isThere = fs::exists(path, none);
    return Fail(function, code, isThere ? Exit::kFailed : Exit::kNotFound,
                path + (isThere ? ": the file cannot be read: " + ErrorText(code) : ": there is no such file"));
}

/// The numbers that texts are, all of each and finite; nothing where one is none.
std::optional<std::vector<double>> ReadNumbers(const std::vector<std::string>& texts) {
    std::vector<double> numbers;
    for (const std::string& text : texts) {
        const char* const end = text.data() + text.size();
        double& number = numbers.emplace_back();
        const auto [next, error] = std::from_chars(text.data(), end, number);
        if (error != std::errc() || next != end || !std::isfinite(number)) {
            return std::nullopt;
        }
    }
    return numbers;
}

/// Where a line's text ends.
std::size_t EndOfLine(const std::string& text, std::size_t from) {
    return std::min(text.find_first_of("\r\n", from), text.size());
}

/// A token and the numbers that are to stand behind it.
struct TokenLine {
    const std::string& token;
    std::vector<double> values;
};

/// Writes the line to the scratch file as the library does.
ZRErrors::ZRErrorT Write(const TokenLine& line, const ScratchFile& scratch) {
    ZRReadCfgC writer;
    auto code = writer.OpenFileName(scratch.Path().c_str());
    if (code == ZRErrors::e_General_NoError) {
        code = writer.WriteToken(line.token.c_str(), line.values.data(), static_cast<unsigned>(line.values.size()), 0);
    }
    return code == ZRErrors::e_General_NoError ? writer.CloseFile(1) : code;
}

/// The length that the library gives the line, without its end; 0 where that cannot be found out.
std::size_t LengthOf(const TokenLine& line, const ScratchFile& scratch) {
    std::string text;
    const bool isWritten = scratch.Write("") && Write(line, scratch) == ZRErrors::e_General_NoError;
    return isWritten && ReadFile(scratch.Path(), text) ? EndOfLine(text, 0) : 0;
}

/// The library replaces a line by one of the same length without touching what follows; a longer one would take the
/// next line's text with it. So the old line is made as long as the new one first.
std::string WithRoom(std::string text, const std::string& token, std::size_t length) {
    const std::size_t begin = text.find(token);
    if (begin == text.npos) {
        const bool isWhole = text.empty() || text.ends_with('\n') || text.ends_with('\r');
        return isWhole ? text : text + (text.find('\r') == text.npos ? "\n" : "\r\n"); // the new line is one of its own
    }
    const std::size_t end = EndOfLine(text, begin);
    return text.replace(begin + token.size(), end - begin - token.size(), length - token.size(), ' ');
}

} // namespace

Outcome GetTokenCommand(const GetTokenOptions& options) {
    constexpr const char* kFunction = "GetTokenCommand(): ";
    ZRReadCfgC reader;
    if (Outcome failure = Open(kFunction, reader, options.file)) {
        return failure;
    }
    std::vector<double> values(options.count);
    auto code = ZRErrors::e_General_NoError;
    for (unsigned i = 1; i <= options.occurrence && code != ZRErrors::e_File_EndOfFile; ++i) {
        const bool isWanted = i == options.occurrence;
        code = reader.ReadToken(options.token.c_str(), values.data(), isWanted ? options.count : 0, 1);
    }
    if (code == ZRErrors::e_File_EndOfFile) {
        return Fail(kFunction, code, Exit::kNotFound, options.file + " has no such token '" + options.token + "'");
    }
    if (code != ZRErrors::e_General_NoError) {
        return Fail(kFunction, code, Exit::kFailed,
                    options.file + ": '" + options.token + "' is not followed by " + Counted(options.count, "number"));
    }
    JsonArray array;
    std::string line;
    for (const double value : values) {
        array.Add(NumberText(value));
        line += (line.empty() ? "" : " ") + NumberText(value);
    }
    const JsonObject object =
        JsonObject().Text("file", options.file).Text("token", options.token).Value("values", array.Json());
    std::printf("%s\n", options.json ? object.Json().c_str() : line.c_str());
    return std::nullopt;
}

Outcome SetTokenCommand(const SetTokenOptions& options) {
    constexpr const char* kFunction = "SetTokenCommand(): ";
    const auto values = ReadNumbers(options.values);
    if (!values) {
        return Fail(kFunction, kInvalidParameter, Exit::kUsage,
                    "VALUES have to be decimal numbers, as in -1.25 or 3e-4");
    }
    if (options.token.empty() || HasControl(options.token)) {
        return Fail(kFunction, kInvalidParameter, Exit::kUsage, "TOKEN has to be a text without control characters");
    }
    std::error_code none;
    std::string before;
    if (!ReadFile(options.file, before) && fs::exists(options.file, none)) {
        return Fail(kFunction, kFileNotRead, Exit::kFailed, options.file + ": the file cannot be read");
    }
    if (before.find('\0') != before.npos) { // where the library would end it
        return Fail(kFunction, kFileFormat, Exit::kFailed, options.file + ": the file is no text");
    }
    const TokenLine line{options.token, *values};
    const ScratchFile scratch(options.file);
    const std::size_t length = LengthOf(line, scratch);
    const bool isDone = length > 0 && scratch.Write(WithRoom(std::move(before), options.token, length)) &&
                        Write(line, scratch) == ZRErrors::e_General_NoError && scratch.Save();
    if (!isDone) {
        return Fail(kFunction, kFileNotWritten, Exit::kFailed,
                    options.file + ": '" + options.token +
                        "' cannot be written: check the folder, which takes a file beside this one");
    }
    const auto count = static_cast<unsigned>(values->size());
    return options.json ? GetTokenCommand({options.file, options.token, count, 1, options.json}) : Outcome();
}

} // namespace apps
