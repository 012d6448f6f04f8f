# Robustness builds: sanitizer runtimes, ThreadSanitizer, coverage and the
# fuzzing harnesses. Included from the top-level list before any target is
# defined, so the flags below reach the library and everything linked to it.

option(RADIMO_TSAN "Build everything with ThreadSanitizer" OFF)
option(RADIMO_BUILD_FUZZ "Build the libFuzzer harnesses in fuzz/ (clang only)" OFF)
option(RADIMO_COVERAGE "Instrument everything for source-based coverage (clang only)" OFF)

if(RADIMO_SANITIZE AND RADIMO_TSAN)
    message(FATAL_ERROR "RADIMO_SANITIZE and RADIMO_TSAN cannot be combined")
endif()

set(radimo_clang OFF)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    set(radimo_clang ON)
endif()

# ThreadSanitizer builds use gcc, whose shared runtime libtsan serves the
# library and the executables alike. clang 14's shared ThreadSanitizer runtime
# crashes at start-up, and its static one would leave the library's
# __tsan_* symbols undefined.
if(RADIMO_TSAN AND radimo_clang)
    message(FATAL_ERROR "RADIMO_TSAN needs gcc (clang's ThreadSanitizer runtime is static only)")
endif()
if(RADIMO_TSAN)
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
endif()

# clang links its sanitizer runtimes statically into executables only and
# leaves a shared library with undefined __asan_*/__ubsan_* symbols
# for the executable to provide, which -Wl,--no-undefined rightly refuses.
# Linking the shared runtime instead (as gcc does by default) gives the
# library a real dependency on it, so the check stays on and the library
# loads into any sanitized host. The runtime directory goes into the run
# path, since it is not on the loader's search path.
if(radimo_clang)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-runtime-dir
        OUTPUT_VARIABLE radimo_clang_runtime_dir OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
if(radimo_clang AND (RADIMO_SANITIZE OR RADIMO_BUILD_FUZZ))
    add_link_options(-shared-libsan "LINKER:-rpath,${radimo_clang_runtime_dir}")
endif()

if(RADIMO_BUILD_FUZZ)
    if(NOT radimo_clang)
        message(FATAL_ERROR "RADIMO_BUILD_FUZZ needs clang (libFuzzer)")
    endif()
    # Harness builds are always sanitized; the library gets the coverage
    # feedback instrumentation, the harnesses link libFuzzer itself.
    if(NOT RADIMO_SANITIZE AND NOT RADIMO_COVERAGE)
        add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
        add_link_options(-fsanitize=address,undefined)
    endif()
    # Coverage builds only replay corpora: they need no fuzzing feedback,
    # whose callbacks would be left undefined in the library.
    if(NOT RADIMO_COVERAGE)
        add_compile_options(-fsanitize=fuzzer-no-link)
    endif()
endif()

if(RADIMO_COVERAGE)
    if(NOT radimo_clang)
        message(FATAL_ERROR "RADIMO_COVERAGE needs clang (source-based coverage)")
    endif()
    add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
    add_link_options(-fprofile-instr-generate)
endif()
