set(GAIZIOR_FUZZERS block element encoded guid history job log packet tokens)
if(NOT WIN32)
    list(APPEND GAIZIOR_FUZZERS profile) # Windows brings its own reader
endif()
set(fuzz_library_block gaizior_seams)
set(fuzz_library_element gaizior)
set(fuzz_library_encoded gaizior_seams)
set(fuzz_library_guid gaizior)
set(fuzz_library_history gaizior)
set(fuzz_library_job gaizior_job)
set(fuzz_library_log gaizior_log)
set(fuzz_library_packet gaizior)
set(fuzz_library_profile gaizior_seams)
set(fuzz_library_tokens gaizior)

# gaizior_fuzzer(TARGET NAME SOURCE...): a program of the entry point of that name; main is somebody else's.
function(gaizior_fuzzer target name)
    add_executable(${target}
        ${PROJECT_SOURCE_DIR}/fuzz/${name}.cpp ${PROJECT_SOURCE_DIR}/fuzz/quiet.cpp ${ARGN})
    target_link_libraries(${target} PRIVATE ${fuzz_library_${name}} gaizior_warnings)
endfunction()
