#include "command.hpp"

namespace quorvel::cli {

std::vector<Command> setup_commands()
{
    return {};
}

}  // namespace quorvel::cli
