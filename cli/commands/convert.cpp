#include "commands/command.h"
namespace radimo::cli {
void add_convert_command(CLI::App &, Commands &) {}
}  // namespace radimo::cli
