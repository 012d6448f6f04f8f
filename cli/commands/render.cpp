#include "commands/command.h"
namespace radimo::cli {
void add_render_command(CLI::App &, Commands &) {}
}  // namespace radimo::cli
