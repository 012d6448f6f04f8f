// What every command of the radimo tool shares: the footer of its --help.
#include "commands/command.h"

#include <string>

namespace radimo::cli {

std::string example(std::initializer_list<const char *> lines) {
    std::string text = "\nExample:";
    for (const char *line : lines) text += std::string("\n  ") + line;
    return text + "\n";
}

}  // namespace radimo::cli
