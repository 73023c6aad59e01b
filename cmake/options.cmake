# Compiler options shared by everything in this tree, carried by one interface target.

add_library(zt_options INTERFACE)
target_compile_features(zt_options INTERFACE cxx_std_20 c_std_11)

# Results are defined to the bit: a multiplication and an addition are never fused into one.
target_compile_options(zt_options INTERFACE -ffp-contract=off -Wall -Wextra -Wpedantic -Wshadow)
if(ZT_WARNINGS_AS_ERRORS)
    target_compile_options(zt_options INTERFACE -Werror)
endif()

if(ZT_SANITIZE)
    target_compile_options(
        zt_options INTERFACE -fsanitize=${ZT_SANITIZE} -fno-sanitize-recover=all
                             -fno-omit-frame-pointer -g)
    target_link_options(zt_options INTERFACE -fsanitize=${ZT_SANITIZE})
endif()

if(ZT_COVERAGE)
    # Threads count too.
    target_compile_options(zt_options INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(zt_options INTERFACE --coverage)
endif()
