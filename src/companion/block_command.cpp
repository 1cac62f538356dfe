#include "companion/command.h"
#include "companion/terminal.h"

namespace qz::companion {

command addBlock(CLI::App& program) {
  CLI::App* const parser =
      program.add_subcommand("block", "look into the client's block of messages");
  return {parser, [] {
            complain("not built yet");
            return kUsageStatus;
          }};
}

}  // namespace qz::companion
