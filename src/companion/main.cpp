// qzframe: what a render wrangler and a pipeline TD need beside the exit-code check.
#include <vector>

#include "companion/command.h"
#include "companion/terminal.h"
#include "tool/report.h"

int main(int argc, char** argv) {
  using namespace qz::companion;
  CLI::App program{
      "Stands beside qzCheckExitcode: launches renders, looks into the client's block,\n"
      "explains exit codes, waits and reports.",
      "qzframe"};
  program.set_version_flag("--version", std::string("qzframe") + qzVersion);
  program.require_subcommand(1);
  program.footer("qzframe COMMAND --help tells about a command.");
  std::vector<command> const commands = {addRun(program), addBlock(program), addExplain(program),
                                         addWhy(program), addReport(program)};
  try {
    program.parse(argc, argv);
  } catch (CLI::Success const& asked) {  // help or version
    return program.exit(asked);
  } catch (CLI::ParseError const& wrong) {
    complain(std::string(wrong.what()) + " (try --help)");
    return kUsageStatus;
  }
  for (command const& one : commands)
    if (one.parser->parsed()) return one.run();
  return kUsageStatus;
}
