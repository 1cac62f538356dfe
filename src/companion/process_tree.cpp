#include "companion/process_tree.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <sstream>

#include "companion/terminal.h"
#include "process/proc_text.h"
#include "process/process_list.h"

namespace qz::companion {
namespace {

std::string contentsOf(std::string const& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

char const* stateWords(char state) {
  switch (state) {
    case 'R':
      return "running";
    case 'S':
      return "sleeping";
    case 'D':
      return "waiting for a disk or a share";
    case 'T':
    case 't':
      return "stopped";
    case 'Z':
      return "ended";
    default:
      return "in an unknown state";
  }
}

}  // namespace

std::vector<descendant> descendants(pid_t leftOut) {
  auto const list = std::make_unique<_qzProcessList2>(false);
  list->collectAllProcesses2();
  std::vector<descendant> found;
  auto const addChildrenOf = [&](pid_t parent) {
    for (int i = 0; i < list->count; ++i) {
      auto const& one = list->records[i];
      auto const pid = static_cast<pid_t>(one.pid);
      if (static_cast<pid_t>(one.parentPid) == parent && pid != leftOut && pid != parent)
        found.push_back({pid, parent, one.name.asChar()});
    }
  };
  addChildrenOf(getpid());
  for (std::size_t next = 0; next < found.size(); ++next) addChildrenOf(found[next].pid);
  return found;
}

std::string describeProcess(descendant const& one) {
  std::string const folder = "/proc/" + std::to_string(one.pid) + "/";
  std::string const stat = contentsOf(folder + "stat");
  detail::stat_line line;
  std::ostringstream words;
  words << one.pid << " " << printable(one.name) << ", ";
  if (!detail::parseStatLine(stat.data(), stat.size(), &line)) {
    words << "ended meanwhile";
    return words.str();
  }
  auto const ticks = static_cast<double>(sysconf(_SC_CLK_TCK));
  words << stateWords(line.state) << ", CPU "
        << static_cast<double>(line.userTicks + line.systemTicks) / ticks << " s";

  std::string const statm = contentsOf(folder + "statm");
  std::uint64_t pages = 0;
  if (detail::parseResidentPages(statm.data(), statm.size(), &pages))
    words << ", " << pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) / 1048576 << " MiB";
  std::string const waitsIn = contentsOf(folder + "wchan");
  if (!waitsIn.empty() && waitsIn != "0") words << ", waits in " << waitsIn;
  std::string command = contentsOf(folder + "cmdline");
  std::replace(command.begin(), command.end(), '\0', ' ');  // between the arguments
  if (!command.empty()) words << ": " << printable(command.substr(0, 200));
  return words.str();
}

}  // namespace qz::companion
