// The commands of the radimo tool. Each adds its CLI11 subcommand to the
// program and returns what runs when that subcommand was given.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <vector>

namespace radimo::cli {

struct Command {
    CLI::App *app;
    std::function<void()> run;
};
using Commands = std::vector<Command>;

void add_demo_command(CLI::App &program, Commands &commands);
void add_convert_command(CLI::App &program, Commands &commands);
void add_measure_command(CLI::App &program, Commands &commands);
void add_render_command(CLI::App &program, Commands &commands);
void add_table_command(CLI::App &program, Commands &commands);
void add_recal_command(CLI::App &program, Commands &commands);
void add_diff_command(CLI::App &program, Commands &commands);
// Built with cpp-httplib only (RADIMO_HAVE_VIEW).
void add_view_command(CLI::App &program, Commands &commands);

// "Example:" footer for a command's --help.
std::string example(std::initializer_list<const char *> lines);

}  // namespace radimo::cli
