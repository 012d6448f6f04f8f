#include "commands/command.h"
namespace radimo::cli {
void add_recal_command(CLI::App &, Commands &) {}
}  // namespace radimo::cli
