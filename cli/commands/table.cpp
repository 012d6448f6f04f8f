#include "commands/command.h"
namespace radimo::cli {
void add_table_command(CLI::App &, Commands &) {}
}  // namespace radimo::cli
