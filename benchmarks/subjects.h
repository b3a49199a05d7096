#pragma once

/// One function for each subject; each prints its comparisons.
namespace benchmarks {

void Errors();
void Logging();
void Messages();
void Events();
void Channel();
void Threads();
void Times();

} // namespace benchmarks
