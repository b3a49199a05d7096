#pragma once

/// One function for each subject; each adds its comparisons to the results.
namespace benchmarks {

void Errors();
void Logging();
void LogFile();
void Messages();
void Channel();
void Times();
void Guids();
void Lengths();
void Threads();
void Events();
void RoundTrips();
void Process();
void Ini();
void Tokens();
void History();
void Preferences();

} // namespace benchmarks
