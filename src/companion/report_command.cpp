#include "companion/command.h"
#include "companion/terminal.h"

namespace qz::companion {

command addReport(CLI::App& program) {
  CLI::App* const parser = program.add_subcommand("report", "find the framed reports in job logs");
  return {parser, [] {
            complain("not built yet");
            return kUsageStatus;
          }};
}

}  // namespace qz::companion
