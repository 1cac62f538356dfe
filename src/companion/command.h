// The words of qzframe: each command adds its options to the command line and says what to run.
#ifndef QZ_COMPANION_COMMAND_H_
#define QZ_COMPANION_COMMAND_H_

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

namespace qz::companion {

// Exit status of a command line that can't be understood. The commands have further ones of their
// own; each one's help tells them.
inline constexpr int kUsageStatus = 2;

struct command {
  CLI::App* parser;          // owned by the App that it was added to
  std::function<int()> run;  // called after the parse if `parser` was named; gives the exit status
};

// Start a render, wait for all of it, run the check. `words` are what stands behind the "--".
command addRun(CLI::App& program, std::vector<std::string> words);
command addBlock(CLI::App& program);    // look into the client's block
command addExplain(CLI::App& program);  // what an exit code means
command addWhy(CLI::App& program);      // which process the tool would wait for
command addReport(CLI::App& program);   // the reports in job logs as a table

}  // namespace qz::companion

#endif  // QZ_COMPANION_COMMAND_H_
