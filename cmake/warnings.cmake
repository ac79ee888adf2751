# Flags of our own code: lanefeed_flags is linked by every target of the project.
add_library(lanefeed_flags INTERFACE)
target_compile_options(lanefeed_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
    -Wold-style-cast -Wcast-qual -Wextra-semi -Wsuggest-override -Wmissing-declarations -Wformat=2
    -Wundef -Wvla
    # NaN means "no data" and buckets must agree between machines.
    -ffp-contract=off
    # Logged places read "src/parse_logger.cpp".
    -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(lanefeed_flags INTERFACE
        -Wduplicated-cond -Wduplicated-branches -Wlogical-op)
else()
    target_compile_options(lanefeed_flags INTERFACE -Wthread-safety)
endif()
if(LANEFEED_WERROR)
    target_compile_options(lanefeed_flags INTERFACE -Werror)
endif()
if(CMAKE_BUILD_TYPE STREQUAL "Debug")
    target_compile_definitions(lanefeed_flags INTERFACE _GLIBCXX_ASSERTIONS)
endif()
