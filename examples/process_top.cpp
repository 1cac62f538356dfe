// Shows which processes keep the machine busy: takes a full snapshot every second and prints the
// twenty that used most CPU time since the one before. A program of one's own that wants such
// figures starts from takeSnapshot() and main().
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "command_line.h"
#include "end_request.h"
#include "process/process_list3.h"
#include "process/process_watch.h"

namespace {

using example::endRequested;

constexpr char kProgram[] = "process_top";
constexpr int kShown = 20;
constexpr int kIntervalMs = 1000;
constexpr int kBarWidth = 20;

struct options {
  bool onlyHelp = false;
  bool once = false;
  bool json = false;
};

struct row {
  _qzProcessList3_data::_prcInfo const* record;
  float percent;

  // Nothing but the name is known of a process that this user may not look into.
  bool isRefused() const { return record->cpuSeconds < 0; }
};

bool readOptions(int argc, char** argv, options& chosen);
void printHelp();
std::string asText(std::vector<row> const& rows, _qzProcessList3 const& list, double seconds);
std::string asJson(std::vector<row> const& rows, _qzProcessList3 const& list, double seconds);
int explainNoSnapshot(_qzProcessList3 const& list);

// Keeps one entry for each process of the last snapshot. A process that is new has no figure yet.
void follow(_ProcessWatch_List3& watch, _qzProcessList3& list) {
  watch.setTotalTicks(list);
  for (int entry = watch.count - 1; entry >= 0; --entry)
    if (list.getListIdxByPID(watch[entry].pid) < 0) watch.deleteAt(entry);
  for (int slot = 0; slot < list.count; ++slot) {
    int entry = watch.getListIdxByPID(list.records[slot].pid);
    if (entry < 0) {
      entry = watch.count++;
      watch[entry] = {};
      watch[entry].pid = list.records[slot].pid;
    }
    watch.calcCPUUsage(entry, &list, slot);
  }
}

// CPU time and memory of all processes. False with a text in the list's `error`.
bool takeSnapshot(_qzProcessList3& list, _ProcessWatch_List3& watch) {
  if (!list.collectAllProcesses_allInfo() || list.count == 0) return false;
  follow(watch, list);
  return true;
}

// The busiest first, of equally busy ones the bigger.
std::vector<row> busiest(_ProcessWatch_List3& watch, _qzProcessList3 const& list) {
  std::vector<row> rows;
  for (int slot = 0; slot < list.count; ++slot) {
    auto const& record = list.records[slot];
    rows.push_back({&record, watch[watch.getListIdxByPID(record.pid)].cpuUsage});
  }
  auto const shown = rows.begin() + std::min<std::ptrdiff_t>(kShown, list.count);
  std::partial_sort(rows.begin(), shown, rows.end(), [](row const& a, row const& b) {
    if (a.percent != b.percent) return a.percent > b.percent;
    if (a.record->memoryMB != b.record->memoryMB) return a.record->memoryMB > b.record->memoryMB;
    return a.record->pid < b.record->pid;
  });
  rows.erase(shown, rows.end());
  return rows;
}

// Leaves what fits on the screen, so that the busiest do not scroll away: beside the rows stand
// five lines, the cursor's with them, and those of the log.
void cutToScreen(std::vector<row>& rows, int logLength) {
  winsize screen = {};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &screen) != 0 || screen.ws_row == 0 || screen.ws_col == 0)
    return;
  int const others = 5 + (logLength + screen.ws_col - 1) / screen.ws_col;
  auto const room = static_cast<std::size_t>(std::max(1, screen.ws_row - others));
  if (rows.size() > room) rows.resize(room);
}

bool print(std::string const& text) {
  return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() &&
         std::fflush(stdout) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  options chosen;
  if (!readOptions(argc, argv, chosen)) return 2;
  if (chosen.onlyHelp) {
    printHelp();
    return std::fflush(stdout) == 0 ? 0 : example::explainNoOutput(kProgram);
  }
  for (int const each : {SIGINT, SIGTERM}) example::endOn(each, SA_RESTART);
  bool const isScreen = !chosen.once && !chosen.json && isatty(STDOUT_FILENO) != 0;
  constexpr char kClearScreen[] = "\x1b[H\x1b[2J";

  auto const list = std::make_unique<_qzProcessList3>(true);
  _ProcessWatch_List3 watch(_qzProcessList3::kMostRecords);
  if (!takeSnapshot(*list, watch)) return explainNoSnapshot(*list);
  for (;;) {
    example::sleepUntilDue(kIntervalMs);
    if (endRequested != 0) return 0;
    if (!takeSnapshot(*list, watch)) return explainNoSnapshot(*list);
    auto rows = busiest(watch, *list);
    if (isScreen) cutToScreen(rows, list->collectLog.length);
    if (isScreen && !print(kClearScreen)) return example::explainNoOutput(kProgram);
    if (!print((chosen.json ? asJson : asText)(rows, *list, watch.deltaTicks)))
      return example::explainNoOutput(kProgram);
    if (chosen.once) return 0;
  }
}

namespace {

// --- what is printed ---

[[gnu::format(printf, 2, 3)]] void add(std::string& text, char const* format, ...) {
  char piece[256];
  va_list values;
  va_start(values, format);
  std::vsnprintf(piece, sizeof piece, format, values);
  va_end(values);
  text += piece;
}

// A process chooses its name, and could write to the terminal with it.
template <class Text>
std::string printable(Text const& text) {
  std::string plain(text.asChar(), text.length);
  for (char& c : plain)
    if (c < ' ' || c > '~') c = '?';
  return plain;
}

// Bytes outside of ASCII are given one by one, since nobody tells their encoding.
template <class Text>
std::string quoted(Text const& text) {
  std::string json = "\"";
  for (int i = 0; i < text.length; ++i) {
    char const c = text.data[i];
    if (c == '"' || c == '\\')
      json += {'\\', c};
    else if (c < ' ' || c > '~')
      add(json, "\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(c)));
    else
      json += c;
  }
  return json + "\"";
}

// A full bar is one core, or the busiest process if that uses more.
std::string barOf(float percent, float busiestPercent) {
  float const full = std::max(100.0F, busiestPercent);
  auto const filled = static_cast<std::size_t>(std::lround(percent * kBarWidth / full));
  std::string bar(filled, '#');
  bar.resize(kBarWidth, '.');
  return bar;
}

std::string asText(std::vector<row> const& rows, _qzProcessList3 const& list, double seconds) {
  std::string text;
  add(text, "%s  %d processes, usage over %.2f seconds\n\n", list.time.asQZ8StringMt().asChar(),
      list.count, seconds);
  add(text, "   CPU %%  %-*s   MEM MB  OWNER            PID  NAME\n", kBarWidth, "");
  for (auto const& [record, percent] : rows) {
    row const shown = {record, percent};
    if (shown.isRefused())
      add(text, "%8s  %-*s  %7s", "-", kBarWidth, "not allowed", "-");
    else
      add(text, "%8.1f  %s  %7d", static_cast<double>(percent),
          barOf(percent, rows[0].percent).c_str(), record->memoryMB);
    add(text, "  %-12s  %8u  %s\n", printable(record->owner()).c_str(), record->pid,
        printable(record->name).c_str());
  }
  return text + "\n" + printable(list.collectLog) + "\n";
}

std::string asJson(std::vector<row> const& rows, _qzProcessList3 const& list, double seconds) {
  std::string json;
  add(json, "{\"timeMS\":%lld,\"seconds\":%.6f,\"count\":%d,\"steps\":",
      static_cast<long long>(list.timeMS), seconds, list.count);
  json += quoted(list.collectLog) + ",\"processes\":[";
  for (auto const& shown : rows) {
    auto const& record = *shown.record;
    if (&shown != rows.data()) json += ",";
    add(json, "\n {\"pid\":%u,\"parentPid\":%u,", record.pid, record.parentPid);
    json += "\"name\":" + quoted(record.name) + ",\"owner\":" + quoted(record.owner()) + ",";
    if (shown.isRefused())
      json += "\"cpuPercent\":null,\"cpuSeconds\":null,\"memoryMB\":null}";
    else
      add(json, "\"cpuPercent\":%.2f,\"cpuSeconds\":%.6f,\"memoryMB\":%d}",
          static_cast<double>(shown.percent), record.cpuSeconds, record.memoryMB);
  }
  return json + "]}\n";
}

void printHelp() {
  std::printf(
      "Usage: process_top [--once] [--json]\n"
      "\n"
      "Takes a snapshot of all processes every second and prints the %d that used most CPU time\n"
      "since the one before, fewer on a smaller screen, until it gets SIGINT or SIGTERM. 100 %%\n"
      "are one core; a full bar is one core or the busiest process. The last line is the\n"
      "snapshot's log of how long its steps took, in seconds. Of a thread that ends only the\n"
      "system time counts, so a process whose threads end shows too little.\n"
      "\n"
      "  --once      end after the first figures\n"
      "  --json      print an object in place of each table: null stands for figures that this\n"
      "              user may not see, \\u0080 to \\u00ff in a text for single bytes\n"
      "  -h, --help  print this and end\n"
      "\n"
      "Exit status: 0 after --once and after a signal, 1 after a failure, 2 for wrong options.\n",
      kShown);
}

int explainNoSnapshot(_qzProcessList3 const& list) {
  std::fprintf(stderr, "process_top: cannot take a snapshot:%s\n",
               list.error.isEmpty() ? " no process is visible" : list.error.asChar());
  return 1;
}

// --- options ---

bool readOptions(int argc, char** argv, options& chosen) {
  for (int i = 1; i < argc; ++i) {
    char const* const option = argv[i];
    if (example::isHelp(option)) {
      chosen.onlyHelp = true;
    } else if (std::strcmp(option, "--once") == 0) {
      chosen.once = true;
    } else if (std::strcmp(option, "--json") == 0) {
      chosen.json = true;
    } else {
      std::fprintf(stderr, "process_top: unknown option \"%s\"; --help lists them.\n", option);
      return false;
    }
  }
  return true;
}

}  // namespace
