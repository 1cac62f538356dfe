#include "companion/command.h"
#include "companion/terminal.h"

namespace qz::companion {

command addExplain(CLI::App& program) {
  CLI::App* const parser = program.add_subcommand("explain", "say what an exit code means");
  return {parser, [] {
            complain("not built yet");
            return kUsageStatus;
          }};
}

}  // namespace qz::companion
