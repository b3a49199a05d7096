#include "apps/bench/error_guide.h"

#include "gaizior/errors/folded_code.h"

#include <algorithm>
#include <array>

namespace apps {
namespace {

constexpr std::uint32_t kSystemError = gaizior::kSystemErrorFlag;
constexpr std::uint32_t kRunTimeError = gaizior::kSystemErrorFlag | gaizior::kRunTimeErrorFlag;

/// The classes of codes are ranges of their numbers. Each ends with the last code that it has.
constexpr std::array kOrigins = {
    CodeRange{0x0000, 0x0008, "general result"},
    CodeRange{0x0014, 0x00D0, "device driver and data transfer"},
    CodeRange{0x012C, 0x02DD, "commands to the imagesetter over the serial line"},
    CodeRange{0x0320, 0x03F8, "reply or state reported by the imagesetter"},
    CodeRange{0x05DC, 0x05F1, "registration of a caller with a server"},
    CodeRange{0x07D1, 0x084B, "library: memory, files, arguments, handles, waits, threads"},
    CodeRange{0x0898, 0x08A3, "image files and the imager"},
    CodeRange{0x0BB7, 0x0BB9, "processes and punches"},
    CodeRange{0x1B58, 0x1B59, "plotter configuration"},
    CodeRange{0x2326, 0x233D, "image compression"},
    CodeRange{0x23F4, 0x23F5, "XML and registry data"},
    CodeRange{0x2454, 0x245B, "calibration header of a board"},
    CodeRange{0x24B8, 0x24C6, "GUIDs, objects and plate parameters"},
    CodeRange{0x251C, 0x251C, "library: memory, files, arguments, handles, waits, threads"},
    CodeRange{0x4100, 0x4111, "timing and bus"},
    CodeRange{0x4240, 0x4244, "bench test application"},
    CodeRange{0x5000, 0x5015, "system, critical sections, threads, events"},
    CodeRange{0x5100, 0x5E1D, "device of the machine"},
    CodeRange{0x8000, 0x8015, "EEPROM"},
    CodeRange{0x8020, 0x80FF, "CAN bus"},
    CodeRange{0x8200, 0x8241, "CAN bus driver and link to the imaging engine"},
    CodeRange{0x8300, 0x8316, "sounds and states of devices"},
    CodeRange{0x8380, 0x8382, "XML objects"},
    CodeRange{0x900A, 0x9A13, "exposer"},
    CodeRange{0xA00A, 0xAD1F, "plate handling system"},
    CodeRange{0xC000, 0xCB21, "auto-unloader"},
    CodeRange{0x10000, 0x1FFF4, "firmware of the recorder"},
    CodeRange{kSystemError, kRunTimeError - 1, "operating system"},
    CodeRange{kRunTimeError, 0x7FFFFFFF, "C run-time library"},
};

/// By the third hexadecimal digit of a code that a device's driver, the exposer or the plate handling has.
constexpr std::array kDevices = {
    static_cast<const char*>(nullptr), // the module itself
    "arm clamp",
    "ballscrew (carriage)",
    "clamp",
    "crossbar",
    "laser",
    "offset timer",
    "pressure roller",
    "plate width system",
    "shutter",
    "spinner",
    "tilt table",
    "vacuum",
    "vacuum sequencer",
    "beam power meter",
};

// Steps that help with several failures.
constexpr const char* kCloseCovers =
    "close every cover; if none is open check the switch behind the one that was opened last";
constexpr const char* kTrySwitches = "operate both switches of its travel by hand: one that stays in, or is plugged in "
                                     "at the other's place, causes this";
constexpr const char* kLookForFile =
    "see in the log which file or folder it was, and whether it is there under that name, also in upper and lower case";
constexpr const char* kAskForRights =
    "see in the log which file it was, whom it belongs to, and whether this user may read and write it";
constexpr const char* kWriteProtected = "see whether the disk or the stick is write-protected; a disk that the system "
                                        "has mounted for reading only after a fault has to be checked";
constexpr const char* kFreeDisk = "free space on the disk: old logs and jobs first; then repeat what failed";
constexpr const char* kCleanWidthSensors =
    "check the plug of the plate width system and clean its sensors; until it works measure plates by hand";
constexpr const char* kListenToShutter =
    "listen whether the shutter's magnet pulls; if it does the shutter itself is stiff or its sensor dirty";
constexpr const char* kLookIntoClamp = "look for a plate or rests in the clamp, and listen whether its drive starts; "
                                       "then operate its open and closed switch by hand";
constexpr const char* kLookAtFolderAbove = "see whether the folder above it is there and may be written by this user";
constexpr const char* kCheckPunch =
    "see whether the punch's plug sits and nothing is stuck in it; then switch the recorder off and on";

constexpr CodeRange kNextSteps[] = {
#define NEXT_STEP(first, last, text) {first, last, text},
#include "apps/bench/next_steps.inc"
#undef NEXT_STEP
};

const char* Find(std::span<const CodeRange> ranges, std::uint32_t code) {
    const auto range =
        std::ranges::find_if(ranges, [=](const CodeRange& r) { return code >= r.first && code <= r.last; });
    return range == ranges.end() ? nullptr : range->text;
}

} // namespace

const char* OriginOf(std::uint32_t code) {
    return Find(kOrigins, code);
}

const char* DeviceOf(std::uint32_t code) {
    constexpr std::array kModules = {0x5u, 0x9u, 0xAu, 0xCu}; // drivers, exposer, plate handling, auto-unloader
    const std::uint32_t device = code >> 8 & 0xF;
    const bool hasDevice = std::ranges::find(kModules, code >> 12) != kModules.end() && device < kDevices.size();
    return hasDevice ? kDevices[device] : nullptr;
}

const char* NextStepFor(std::uint32_t code) {
    return Find(kNextSteps, code);
}

std::span<const CodeRange> NextSteps() {
    return kNextSteps;
}

} // namespace apps
