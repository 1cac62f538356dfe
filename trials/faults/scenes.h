// What is run with one fault each: the tool in several scenes beside a client's block, and
// functions of the library on files. A scene checks what must hold, and puts into words what a user
// sees.
#ifndef QZ_TESTS_FAULTS_SCENES_H_
#define QZ_TESTS_FAULTS_SCENES_H_

#include <functional>
#include <string>
#include <vector>

#include "faults/traced_call.h"

namespace faults {

struct outcome {
  traced_run run;
  std::string sees;    // empty if nobody sees anything
  std::string broken;  // what must hold and did not
};

struct scene {
  char const* name;
  std::function<outcome(fault const&)> run;
};

std::vector<scene> toolScenes(char const* tool);
// They have the folder to themselves.
std::vector<scene> fileScenes(std::string const& folder);

// Text of a zone file, five hours east of UTC, so that a stamp in UTC shows. For TZ of the tool.
std::string zoneFile();

// Whether the fault hit the C library's own start, before main and its first call.
bool isInStart(traced_run const& run, fault const& injected);

// Adds to a list of clauses.
void add(std::string& text, std::string const& more);
void writeFile(std::string const& path, std::string const& text);
std::string replaced(std::string text, std::string const& from, std::string const& to);

}  // namespace faults

#endif  // QZ_TESTS_FAULTS_SCENES_H_
