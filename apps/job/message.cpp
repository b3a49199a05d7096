#include "apps/job/message.h"

#include "apps/support/failure.h"
#include "gaizior/comms/packet.h"

#include <algorithm>
#include <array>
#include <limits>
#include <set>

namespace apps {
namespace {

/// Between a plate's name and its calibration's: neither holds a control character.
constexpr char kBetweenNames = '\t';

/// Cuts the text up to the next separator off the front of `rest`, the separator with it.
std::string_view NextWord(std::string_view& rest, char separator) {
    const std::size_t end = std::min(rest.find(separator), rest.size());
    const std::string_view word = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return word;
}

constexpr int kSenderField = 2;
constexpr Range kIds{0, std::numeric_limits<std::uint16_t>::max()};

/// The library's extraction takes what it can get; a message here must be whole.
bool IsWhole(std::string_view packet) {
    if (packet.size() > kMaxMessage || std::ranges::count(packet, ';') < 5 || packet.find('\0') != packet.npos) {
        return false;
    }
    for (int field = 0; field < 4; ++field) {
        const std::optional<int> number = ParseNumber(NextWord(packet, ';'));
        if (!number || (field == kSenderField && !kIds.Holds(*number))) {
            return false;
        }
    }
    return true;
}

std::string SizeParameters(const Size& size) {
    return "width=" + FormatHundredths(size.width) + " length=" + FormatHundredths(size.length);
}

std::optional<Size> ReadSize(std::string_view text) {
    const auto width = ParseHundredths(FindParameter(text, "width"));
    const auto length = ParseHundredths(FindParameter(text, "length"));
    return width && length ? std::optional(Size{*width, *length}) : std::nullopt;
}

/// Stores what was read, if it could be.
template <typename Read, typename Target>
bool Store(const std::optional<Read>& read, Target& target) {
    if (read) {
        target = *read;
    }
    return read.has_value();
}

bool SetPlateWord(Plate& plate, std::string_view key, std::string_view value) {
    return key == "width"       ? Store(ParseHundredths(value), plate.size.width)
           : key == "length"    ? Store(ParseHundredths(value), plate.size.length)
           : key == "thickness" ? Store(ParseHundredths(value), plate.thickness)
           : key == "polarity"  ? Store(ParsePolarity(value), plate.polarity)
           : key == "power"     ? Store(ParsePower(value), plate.power)
           : key == "cassette"  ? Store(ParseNumber(value), plate.cassette)
                                : false;
}

/// The names that AddPlateDetails has put into a qualifier.
void SetNames(Plate& plate, std::string_view qualifier) {
    plate.name = NextWord(qualifier, kBetweenNames);
    plate.calibration = qualifier;
}

/// "Cyan" or "Black*2".
std::optional<Separation> ReadSeparation(std::string_view word) {
    const std::string_view name = NextWord(word, '*');
    const std::optional<int> copies = word.empty() ? 1 : ParseNumber(word);
    return copies ? std::optional(Separation{std::string(name), *copies}) : std::nullopt;
}

Message MakeCommand(CommandCode code) {
    Message message;
    message.type = kCommand;
    message.code = code;
    return message;
}

} // namespace

ZRErrors::ZRErrorT Encode(const Message& message, std::string& packet) {
    if (message.text.find(';') != std::string::npos) {
        return kInvalidParameter;
    }
    std::string text = message.text;
    std::string qualifier = message.qualifier;
    ZRErrors::ZRMessagePacketT fields{};
    fields.nType = message.type;
    fields.nCode = message.code;
    fields.nID = message.id;
    fields.nVal = message.value;
    fields.pString = text.data();
    fields.pQualifier = qualifier.data();
    std::array<char, kMaxMessage + 1> buffer{};
    const ZRErrors::ZRErrorT code = ZRCreateMessageFromPacket(fields, buffer.data(), kMaxMessage);
    if (code == ZRErrors::e_General_NoError) {
        packet = buffer.data();
    }
    return code;
}

ZRErrors::ZRErrorT Decode(std::string_view packet, Message& message) {
    if (!IsWhole(packet)) {
        return kInvalidData;
    }
    alignas(unsigned short) std::array<char, kMaxMessage + 1> copy{};
    std::ranges::copy(packet, copy.begin());
    std::array<char, kMaxMessage + 1> text{};
    std::array<char, kMaxMessage + 1> qualifier{};
    ZRErrors::ZRMessagePacketT fields{};
    fields.pString = text.data();
    fields.nStringSize = static_cast<unsigned short>(text.size());
    fields.pQualifier = qualifier.data();
    fields.nQualifierSize = static_cast<unsigned short>(qualifier.size());
    const auto* units = reinterpret_cast<const unsigned short*>(copy.data());
    if (ZRExtractMessagePacket(units, fields) != ZRErrors::e_General_NoError) {
        return kInvalidData;
    }
    message = {fields.nType, fields.nCode, fields.nID, fields.nVal, text.data(), qualifier.data()};
    return ZRErrors::e_General_NoError;
}

std::string IdWords(std::uint16_t imagerId) {
    return imagerId == kBenchId + 1 ? "" : " --id " + std::to_string(imagerId);
}

std::uint16_t NamedSender(std::string_view packet) {
    for (int field = 0; field < kSenderField; ++field) {
        NextWord(packet, ';');
    }
    const std::optional<int> number = ParseNumber(NextWord(packet, ';'));
    return static_cast<std::uint16_t>(number && kIds.Holds(*number) ? *number : 0);
}

std::string_view FindParameter(std::string_view text, std::string_view key) {
    while (!text.empty()) {
        std::string_view word = NextWord(text, ' ');
        if (NextWord(word, '=') == key) {
            return word;
        }
    }
    return {};
}

void AddPlateDetails(Message& message, const Plate& plate) {
    if (plate.thickness) {
        message.text += " thickness=" + FormatHundredths(*plate.thickness);
    }
    if (plate.polarity) {
        message.text += std::string(" polarity=") + PolarityName(*plate.polarity);
    }
    if (plate.power) {
        message.text += " power=" + FormatPower(*plate.power);
    }
    if (plate.cassette) {
        message.text += " cassette=" + std::to_string(*plate.cassette);
    }
    message.qualifier = plate.name;
    if (!plate.calibration.empty()) {
        message.qualifier += kBetweenNames + plate.calibration;
    }
}

std::string CommandName(std::int32_t code) {
    constexpr std::array<const char*, 6> kNames = {"status", "load", "expose", "unload", "stop", "threads"};
    return code >= kStatus && code <= kThreads ? kNames[static_cast<std::size_t>(code - kStatus)]
                                               : "command " + std::to_string(code);
}

Message MakeStatusCommand() {
    return MakeCommand(kStatus);
}

Message MakeLoadCommand(const Plate& plate) {
    Message message = MakeCommand(kLoad);
    message.text = SizeParameters(plate.size);
    AddPlateDetails(message, plate);
    return message;
}

Message MakeExposeCommand(const Job& job) {
    Message message = MakeCommand(kExpose);
    message.value = job.resolution;
    message.text = SizeParameters(job.image) + " separations";
    char before = '=';
    for (const Separation& separation : job.separations) {
        message.text += before + separation.name;
        if (separation.copies > 1) {
            message.text += "*" + std::to_string(separation.copies);
        }
        before = ',';
    }
    message.qualifier = job.name;
    return message;
}

Message MakeUnloadCommand() {
    return MakeCommand(kUnload);
}

Message MakeStopCommand() {
    return MakeCommand(kStop);
}

Message MakeThreadsCommand(std::int32_t request) {
    Message message = MakeCommand(kThreads);
    message.value = request;
    return message;
}

std::optional<Plate> ReadLoadCommand(const Message& message) {
    Plate plate;
    std::set<std::string_view> keys;
    std::string_view text = message.text;
    while (!text.empty()) {
        std::string_view word = NextWord(text, ' ');
        if (word.empty()) {
            continue; // blanks in a row
        }
        const std::string_view key = NextWord(word, '=');
        if (!keys.insert(key).second || !SetPlateWord(plate, key, word)) {
            return std::nullopt;
        }
    }
    SetNames(plate, message.qualifier);
    return keys.contains("width") && keys.contains("length") ? std::optional(std::move(plate)) : std::nullopt;
}

std::optional<Plate> ReadReportedPlate(const Message& reply) {
    Plate plate;
    std::set<std::string_view> keys; // of what is known of the plate
    std::string_view text = reply.text;
    while (!text.empty()) {
        std::string_view word = NextWord(text, ' ');
        const std::string_view key = NextWord(word, '=');
        if (SetPlateWord(plate, key, word)) {
            keys.insert(key);
        }
    }
    SetNames(plate, reply.qualifier);
    return keys.contains("width") && keys.contains("length") ? std::optional(std::move(plate)) : std::nullopt;
}

std::optional<Job> ReadExposeCommand(const Message& message) {
    const std::optional<Size> image = ReadSize(message.text);
    if (!image) {
        return std::nullopt;
    }
    Job job{message.qualifier, {}, *image, message.value, {}};
    std::string_view words = FindParameter(message.text, "separations");
    while (!words.empty()) {
        std::optional<Separation> separation = ReadSeparation(NextWord(words, ','));
        if (!separation) {
            return std::nullopt;
        }
        job.separations.push_back(std::move(*separation));
    }
    return job;
}

} // namespace apps
