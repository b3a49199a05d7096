# What our own code is compiled with; GoogleTest and other libraries keep their own settings. Our presets make errors of
# warnings (CMAKE_COMPILE_WARNING_AS_ERROR), which nobody else's newer compiler is to stumble over.
add_library(gaizior_warnings INTERFACE)
target_compile_options(gaizior_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wnon-virtual-dtor
    -Woverloaded-virtual -Wnull-dereference)
