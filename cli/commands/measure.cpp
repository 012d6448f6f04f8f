#include "commands/command.h"
namespace radimo::cli {
void add_measure_command(CLI::App &, Commands &) {}
}  // namespace radimo::cli
