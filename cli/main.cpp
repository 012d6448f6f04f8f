// radimo: the command-line tool of libradimo.
#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <string>

#include "commands/command.h"
#include "core/atomic_output.h"
#include "core/errors.h"
#include "core/warnings.h"
#include "libradimo.h"

namespace radimo::cli {

namespace {

// What standard output was given must have reached it: a failed write (a full
// disk, a closed pipe, /dev/full) is exit code 4, not a silent success.
int flushed(int exit_code) {
    std::cout.flush();
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0 || !std::cout) {
        std::fprintf(stderr, "radimo: error: cannot write to standard output\n");
        return static_cast<int>(Exit::kIo);
    }
    return exit_code;
}

int run(int argc, char **argv) {
    CLI::App program{
        "radimo: temperatures, measurements and pictures from the frames of an uncooled thermal camera",
        "radimo"};
    program.set_version_flag("--version",
                             std::string("radimo " RADIMO_CLI_VERSION " (") + radimo_version() + ")");
    program.require_subcommand(1, 1);
    program.fallthrough();
    bool verbose = false, strict = false;
    program.add_flag("-v,--verbose", verbose, "Also print the library's own messages on standard error");
    program.add_flag(
        "--strict", strict,
        "End with exit code 2 when the input raised a warning (an implausible unit, byte-swapped "
        "samples, saturated raw values, a doubtful frame size)");
    program.footer(
        "Warnings (doubts about the input) are lines \"radimo: warning: ...\" on standard error and a\n"
        "\"warnings\" array in JSON.\n"
        "Exit codes: 0 success, 2 bad arguments or input (or a warning with --strict), 3 library failure,\n"
        "4 file read/write failure (standard output included).\n"
        "Outputs appear whole or not at all (written under a temporary name, then renamed; through a\n"
        "symbolic link, the file it leads to). -o - writes to standard output; a device or pipe such as\n"
        "/dev/null is written into, not replaced. No command overwrites one of its inputs.\n" +
        example({"radimo demo --out demo", "radimo measure demo/celsius.tiff --rect 100,100,50,40"}));

    Commands commands;
    add_demo_command(program, commands);
    add_convert_command(program, commands);
    add_measure_command(program, commands);
    add_render_command(program, commands);
    add_table_command(program, commands);
    add_recal_command(program, commands);
    add_diff_command(program, commands);
#ifdef RADIMO_HAVE_VIEW
    add_view_command(program, commands);
#endif

    try {
        program.parse(argc, argv);
    } catch (const CLI::Success &e) {
        std::signal(SIGPIPE, SIG_IGN);    // a closed pipe is a write error
        return flushed(program.exit(e));  // --help, --version
    } catch (const CLI::ParseError &e) {
        std::fprintf(stderr, "radimo: error: %s (see radimo --help)\n", e.what());
        return static_cast<int>(Exit::kUsage);
    }

    install_library_printer(verbose);
    install_interrupt_cleanup();
    try {
        for (const Command &c : commands)
            if (c.app->parsed()) c.run();
    } catch (const Error &e) {
        warnings().print(stderr);
        std::fprintf(stderr, "radimo: error: %s\n", e.what());
        return static_cast<int>(e.exit());
    } catch (const std::bad_alloc &) {
        warnings().print(stderr);
        std::fprintf(stderr, "radimo: error: out of memory\n");
        return static_cast<int>(Exit::kIo);
    } catch (const std::exception &e) {
        warnings().print(stderr);
        std::fprintf(stderr, "radimo: error: %s\n", e.what());
        return static_cast<int>(Exit::kIo);
    }
    const bool warned = !warnings().empty();
    const int code = flushed(0);
    warnings().print(stderr);
    if (code == 0 && strict && warned) {
        std::fprintf(stderr, "radimo: error: --strict: the input raised warnings\n");
        return static_cast<int>(Exit::kUsage);
    }
    return code;
}

}  // namespace
}  // namespace radimo::cli

int main(int argc, char **argv) {
    return radimo::cli::run(argc, argv);
}
