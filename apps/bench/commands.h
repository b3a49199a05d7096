#pragma once

#include "apps/job/message.h"
#include "apps/support/failure.h"
#include "apps/support/process_events.h"

#include <cstdint>
#include <string>
#include <vector>

namespace apps {

// What each of bench's commands is told by the command line, and the function that carries it out. Results go to
// standard output; a failure is returned, and main says it.

struct ImageOptions {
    std::string jobFile;
    std::string imager; ///< path of the program; empty: the one beside bench
    std::uint16_t id = kBenchId;
    double speed = 1;
    double timeout = 10; ///< seconds of silence from the imager
    bool check = false;  ///< tell every fault of the job file; start nothing
    bool dryRun = false; ///< tell the plates and their times; start nothing
    bool json = false;
    bool verbose = false;
};
Outcome ImageCommand(const ImageOptions& options, const Interrupt& interrupt);

struct PlatesOptions {
    std::string plateFile;
    bool json = false;
};
Outcome PlatesCommand(const PlatesOptions& options);

struct PlateOptions {
    std::string file; ///< a plate file, or a job file, which ends in ".job"
    std::string name; ///< empty: the only one
    bool show = false;
};
Outcome PlateCommand(const PlateOptions& options, const Interrupt& interrupt);

struct ImagerOptions {
    std::uint16_t id = kBenchId + 1; ///< the imager's
    double timeout = 10;             ///< seconds of silence from it
    bool json = false;
    bool verbose = false;
};
Outcome ThreadsCommand(const ImagerOptions& options, const Interrupt& interrupt);
Outcome ImagerStatusCommand(const ImagerOptions& options, const Interrupt& interrupt);
Outcome UnloadCommand(const ImagerOptions& options, const Interrupt& interrupt);
Outcome StopCommand(const ImagerOptions& options, const Interrupt& interrupt);

struct StartOptions : ImagerOptions {
    std::string imager; ///< path of the program; empty: the one beside bench
    double speed = 1;
};
Outcome StartCommand(const StartOptions& options, const Interrupt& interrupt);

struct LoadOptions : ImagerOptions {
    std::string file; ///< a plate file, or a job file, which ends in ".job"
    std::string name; ///< the plate's; empty: the only one
};
Outcome LoadCommand(const LoadOptions& options, const Interrupt& interrupt);

struct ExposeOptions : ImagerOptions {
    std::string jobFile;
    int plate = 0;          ///< of the job, from 1; 0: all
    std::string separation; ///< empty: all
};
Outcome ExposeCommand(const ExposeOptions& options, const Interrupt& interrupt);

struct ErrorOptions {
    std::vector<std::string> words;
    bool json = false;
};
Outcome ErrorCommand(const ErrorOptions& options);

struct ConvertOptions {
    std::vector<std::string> words; ///< a number and its unit, in one word or two
    double dpi = 0;
    bool json = false;
};
Outcome ConvertCommand(const ConvertOptions& options);

struct NewGuidOptions {
    bool json = false;
};
Outcome NewGuidCommand(const NewGuidOptions& options);

struct CheckGuidOptions {
    std::string text;
    bool json = false;
};
Outcome CheckGuidCommand(const CheckGuidOptions& options);

struct HistoryOptions {
    std::string file;     ///< empty: that of the usual imager
    std::size_t last = 0; ///< so many lines of what is there; 0: all
    bool json = false;
};
Outcome ListHistoryCommand(const HistoryOptions& options);
Outcome FollowHistoryCommand(const HistoryOptions& options, const Interrupt& interrupt);

struct GetIniOptions {
    std::string file; ///< plain or encoded
    std::string section;
    std::string key;
    bool json = false;
};
Outcome GetIniCommand(const GetIniOptions& options);
struct SetIniOptions : GetIniOptions {
    std::string value;
};
Outcome SetIniCommand(const SetIniOptions& options);
struct ListIniOptions {
    std::string file;
    std::string section; ///< empty: all
    bool json = false;
};
Outcome ListIniCommand(const ListIniOptions& options);
struct EncodeIniOptions {
    std::string file;
    std::string to;
    bool json = false;
};
Outcome EncodeIniCommand(const EncodeIniOptions& options);
struct DecodeIniOptions {
    std::string file;
    std::string to; ///< empty: standard output
    bool json = false;
};
Outcome DecodeIniCommand(const DecodeIniOptions& options);

struct GetTokenOptions {
    std::string file;
    std::string token;
    unsigned count = 1;      ///< of values
    unsigned occurrence = 1; ///< of the token
    bool json = false;
};
Outcome GetTokenCommand(const GetTokenOptions& options);

struct SetTokenOptions {
    std::string file;
    std::string token;
    std::vector<std::string> values;
    bool json = false;
};
Outcome SetTokenCommand(const SetTokenOptions& options);

/// "Platesetter/Imager/101".
std::string DefaultPrefsKey();
/// Where preferences stand.
struct PrefsKey {
    std::string path = DefaultPrefsKey(); ///< three parts, apart by slashes or backslashes
    bool machine = false;                 ///< the machine's level alone
};
struct ListPrefsOptions : PrefsKey {
    bool json = false;
};
Outcome ListPrefsCommand(const ListPrefsOptions& options);
struct GetPrefOptions : ListPrefsOptions {
    std::string name;
};
Outcome GetPrefCommand(const GetPrefOptions& options);
struct SetPrefOptions : GetPrefOptions {
    std::string value;
    std::string type; ///< "number" or "text"; empty: that of the present value, or what the value looks like
};
Outcome SetPrefCommand(const SetPrefOptions& options);

struct StatusOptions {
    bool json = false;
};
Outcome StatusCommand(const StatusOptions& options);

struct DoctorOptions {
    bool repair = false;
    bool json = false;
};
Outcome DoctorCommand(const DoctorOptions& options, const Interrupt& interrupt);

struct SendOptions {
    std::string text;
    std::uint16_t to = 0;
    std::uint16_t id = kServiceId;
    double wait = 0; ///< seconds for an answer; 0: none is awaited
    bool json = false;
};
Outcome SendCommand(const SendOptions& options, const Interrupt& interrupt);

struct ReceiveOptions {
    std::uint16_t id = kServiceId;
    double timeout = 10; ///< seconds for each message
    int count = 1;
    bool json = false;
};
Outcome ReceiveCommand(const ReceiveOptions& options, const Interrupt& interrupt);

struct WhoOptions {
    bool json = false;
};
Outcome WhoCommand(const WhoOptions& options);

struct PurgeOptions {
    std::uint16_t id = 0;
    bool yes = false; ///< do not ask
    bool json = false;
};
Outcome PurgeCommand(const PurgeOptions& options, const Interrupt& interrupt);

struct WatchOptions {
    double seconds = 0; ///< 0: until Ctrl-C
    bool json = false;
};
Outcome WatchCommand(const WatchOptions& options, const Interrupt& interrupt);

struct LiveOptions {
    std::uint16_t id = kBenchId + 1; ///< the imager's
    double seconds = 0;              ///< 0: until 'q' or Ctrl-C
    bool json = false;
    bool verbose = false;
};
Outcome LiveCommand(const LiveOptions& options, const Interrupt& interrupt);

struct LogOptions {
    std::vector<std::string> paths;
    int level = -1;    ///< the highest to show; -1: all
    std::string since; ///< as people write it; empty: from the beginning
    std::string until;
    std::string grep;
    std::string process; ///< empty: all
    bool follow = false;
    bool json = false;
};
Outcome LogCommand(const LogOptions& options, const Interrupt& interrupt);

} // namespace apps
