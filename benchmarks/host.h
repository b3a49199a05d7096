#pragma once

#include <string>

/// The machine that measures.
namespace benchmarks {

/// @returns the processor's name, how many of its cores this process may use, and the compiler.
std::string DescribeHost();

unsigned UsableCores();

/// Lets the calling thread, and those that it starts, run on that core only, 0 being the first that the process may
/// use. @returns false when there are not so many.
bool PinToCore(unsigned core);

/// Measures what tells hosts apart: a locked instruction and a plain copy.
void Calibrate();

} // namespace benchmarks
