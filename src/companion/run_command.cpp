// qzframe run: starts a render as the reaper of its descendants, waits for it, and runs the check
// as its own child. A render that a wrapper leaves behind becomes this program's child, too, and so
// the check's sibling, where the check looks first.
#include <fcntl.h>
#include <strings.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <memory>

#include "companion/command.h"
#include "companion/exit_codes.h"
#include "companion/process_tree.h"
#include "companion/terminal.h"
#include "tool/run_state.h"

namespace qz::companion {
namespace {

constexpr char kCheckName[] = "qzCheckExitcode";
constexpr std::size_t kKernelNameBytes = 15;
constexpr int kNotFound = 127;  // as shells say it
constexpr int kNotExecutable = 126;
constexpr pid_t kNobody = 0;
constexpr double kSettleSeconds = 0.5;
constexpr double kKillSeconds = 10;  // after which what still lives can't be killed

using clock = std::chrono::steady_clock;
using seconds = std::chrono::duration<double>;

struct options {
  double deadline = 0;  // seconds; 0: none
  double grace = 10;    // seconds between TERM and KILL
  std::string process;
  long long frame = -30000;  // the check's own values for what isn't given
  int thread = 0;
  int instance = 255;
  std::vector<std::string> forgiven;  // as parseExitCode reads them
  std::string check;
  std::vector<std::string> words;  // the command
};

struct launch {
  options const& chosen;
  sigset_t before = {};  // the signal mask to give to children
  pid_t render = kNobody;
  pid_t check = kNobody;
  int renderStatus = 0;  // as wait(2) gives them
  int checkStatus = 0;
  bool renderHasEnded = false;
  bool checkHasEnded = false;
  enum { within_time, asked_to_end, forced_to_end, given_up } stage = within_time;
  clock::time_point due = clock::time_point::max();  // of the stage's end
  clock::time_point killedSince = {};

  explicit launch(options const& given) : chosen(given) {}
};

// SIGPIPE and SIGXFSZ are only held off: a log that can't be written to stops nothing.
sigset_t watchedSignals() {
  sigset_t all;
  sigemptyset(&all);
  for (int const number :
       {SIGCHLD, SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2, SIGPIPE, SIGXFSZ})
    sigaddset(&all, number);
  return all;
}

bool isPassedOn(int number) {
  return number > 0 && number != SIGCHLD && number != SIGPIPE && number != SIGXFSZ;
}

// A group in the background that reads from the terminal is stopped, for good if nobody looks.
void leaveTerminal() {
  if (isatty(STDIN_FILENO) != 1) return;
  int const nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
  if (nothing < 0) return;
  (void)dup2(nothing, STDIN_FILENO);
}

// Starts the words in a process group of their own. Gives the process id, or kNobody with errno if
// even fork fails; a command that can't be executed ends with a shell's status.
pid_t start(std::vector<std::string> const& words, sigset_t const& mask) {
  std::vector<char*> arguments;
  for (auto const& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  pid_t const pid = fork();
  if (pid < 0) return kNobody;
  if (pid > 0) {
    (void)setpgid(pid, pid);  // both sides do it, and the first one wins
    return pid;
  }
  (void)setpgid(0, 0);
  leaveTerminal();
  (void)sigprocmask(SIG_SETMASK, &mask, nullptr);
  execvp(arguments[0], arguments.data());
  int const cause = errno;
  complain("can't start '" + words[0] + "': " + std::strerror(cause));
  _exit(cause == ENOENT ? kNotFound : kNotExecutable);
}

void reapAll(launch& one) {
  int status = 0;
  for (pid_t pid; (pid = waitpid(-1, &status, WNOHANG)) > 0;) {
    if (pid == one.render && !one.renderHasEnded) {  // an adopted one may get its number later
      one.renderStatus = status;
      one.renderHasEnded = true;
    } else if (pid == one.check) {
      one.checkStatus = status;
      one.checkHasEnded = true;
    }
  }
}

void signalAll(launch const& one, int number) {
  auto const all = descendants(one.check);
  for (auto const& each : all) (void)kill(each.pid, number);
  // Where the processes can't be listed, the group is all that is known.
  if (all.empty() && !one.renderHasEnded) (void)kill(-one.render, number);
}

// While the command lives, its group hears the signal in one instant. Later the group's number may
// be another's.
void passOn(launch const& one, int number) {
  for (int const each : {number, SIGCONT}) {  // a stopped process would not hear it
    if (one.renderHasEnded)
      signalAll(one, each);
    else
      (void)kill(-one.render, each);
  }
}

void describeAll(launch const& one) {
  for (auto const& each : descendants(one.check))
    std::fprintf(stderr, "  %s\n", describeProcess(each).c_str());
}

bool isEnding(launch const& one) {
  return one.stage == launch::asked_to_end || one.stage == launch::forced_to_end;
}

void passTime(launch& one) {
  if (clock::now() < one.due) return;
  auto const after = [](double time) {
    return clock::now() + std::chrono::duration_cast<clock::duration>(seconds(time));
  };
  if (one.stage == launch::within_time) {
    char time[32];
    std::snprintf(time, sizeof time, "%g", one.chosen.deadline);
    complain(std::string("the deadline of ") + time + " seconds has passed; ending:");
    describeAll(one);
    signalAll(one, SIGTERM);
    signalAll(one, SIGCONT);
    one.stage = launch::asked_to_end;
    one.due = after(one.chosen.grace);
    return;
  }
  if (one.stage == launch::asked_to_end) {
    one.stage = launch::forced_to_end;
    one.killedSince = clock::now();
  }
  // Again and again: a process may start others meanwhile, but not while it is stopped.
  signalAll(one, SIGSTOP);
  signalAll(one, SIGKILL);
  one.due = after(0.1);
  if (clock::now() - one.killedSince < seconds(kKillSeconds)) return;
  complain("some can't be killed and are left behind:");
  describeAll(one);
  if (!one.renderHasEnded) one.renderStatus = SIGKILL;
  one.stage = launch::given_up;
  one.due = clock::time_point::max();
}

// Handles signals and the deadline until the next event, 250 ms at most.
void waitALittle(launch& one) {
  sigset_t const watched = watchedSignals();
  auto const left = std::clamp(seconds(one.due - clock::now()).count(), 0.0, 0.25);
  timespec const time = {0, static_cast<long>(left * 1e9)};
  int const number = sigtimedwait(&watched, nullptr, &time);
  if (isPassedOn(number)) passOn(one, number);
  reapAll(one);
  passTime(one);
}

// A process of that name deeper in the tree would not be found by the check, which looks among its
// siblings only.
bool hidesFromCheck(std::string name) {
  for (char& c : name) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  auto const all = descendants(kNobody);
  return std::any_of(all.begin(), all.end(), [&](descendant const& one) {
    return one.name == name && one.parentPid != getpid();
  });
}

// Once the deadline has passed, the whole tree goes.
void waitForEnding(launch& one) {
  while (isEnding(one) && !descendants(kNobody).empty()) waitALittle(one);
}

// What a wrapper leaves behind needs a moment to start the render and to bear its name.
void waitForHidden(launch& one) {
  bool isTold = false;
  for (auto seen = clock::now(); one.stage != launch::given_up && !descendants(kNobody).empty();) {
    bool const isHidden = hidesFromCheck(one.chosen.process);
    if (isHidden && !isTold) {
      complain("waiting for " + one.chosen.process + " below a process that the command left");
      isTold = true;
    }
    if (isHidden) seen = clock::now();
    if (clock::now() - seen >= seconds(kSettleSeconds)) return;
    waitALittle(one);
  }
}

void waitForRender(launch& one) {
  while (!one.renderHasEnded && one.stage != launch::given_up) waitALittle(one);
  waitForEnding(one);
  if (!one.chosen.process.empty()) waitForHidden(one);
}

int exitCodeOf(int status) {
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

std::string checkPath(options const& chosen) {
  if (!chosen.check.empty()) return chosen.check;
  std::error_code unknown;
  auto const own = std::filesystem::read_symlink("/proc/self/exe", unknown);
  auto const beside = own.parent_path() / kCheckName;
  return !unknown && access(beside.c_str(), X_OK) == 0 ? beside.string() : kCheckName;
}

// The name right behind the frame number: the check takes whatever stands there for it, and a
// forgiven code in its place names no process.
std::vector<std::string> checkWords(options const& chosen, int exitCode) {
  std::vector<std::string> words = {checkPath(chosen), std::to_string(exitCode),
                                    std::to_string(chosen.instance), std::to_string(chosen.thread),
                                    std::to_string(chosen.frame)};
  if (!chosen.process.empty()) words.push_back(chosen.process);
  for (auto const& code : chosen.forgiven)
    words.push_back("ignore=" + std::to_string(parseExitCode(code).value_or(0)));
  return words;
}

void runCheck(launch& one, int exitCode) {
  one.check = start(checkWords(one.chosen, exitCode), one.before);
  if (one.check == kNobody)
    return complain(std::string("the check can't be started: ") + std::strerror(errno));
  while (!one.checkHasEnded) waitALittle(one);
  if (one.checkStatus != 0)
    complain("the check did not end well: " +
             (WIFSIGNALED(one.checkStatus)
                  ? "signal " + std::to_string(WTERMSIG(one.checkStatus))
                  : "exit status " + std::to_string(WEXITSTATUS(one.checkStatus))));
}

int run(options const& chosen) {
  launch one(chosen);
  if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0)
    complain(std::string("orphans of the render can't be adopted: ") + std::strerror(errno));
  // Ignored, as some starters leave it, it would take the children's exit statuses away.
  (void)std::signal(SIGCHLD, SIG_DFL);
  sigset_t const watched = watchedSignals();
  (void)sigprocmask(SIG_BLOCK, &watched, &one.before);
  if (chosen.deadline > 0)
    one.due = clock::now() + std::chrono::duration_cast<clock::duration>(seconds(chosen.deadline));

  one.render = start(chosen.words, one.before);
  if (one.render == kNobody) {
    complain(std::string("the command can't be started: ") + std::strerror(errno));
    runCheck(one, kNotExecutable);
    return kNotExecutable;
  }
  waitForRender(one);
  int const exitCode = exitCodeOf(one.renderStatus);
  runCheck(one, exitCode);
  waitForEnding(one);
  return exitCode;
}

bool isSameWithoutCase(std::string const& a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.c_str(), b.data(), b.size()) == 0;
}

// What is wrong with the options, or an empty text.
std::string faultOf(options const& chosen) {
  constexpr std::string_view kIgnore = "ignore=";
  if (chosen.words.empty()) return "no command stands behind '--'";
  if (isSameWithoutCase(chosen.process, kCheckName))
    return "--process: the check would wait for itself";
  if (isSameWithoutCase(chosen.process.substr(0, kIgnore.size()), kIgnore))
    return "--process: the check would take '" + chosen.process + "' for a code to forgive";
  if (chosen.forgiven.size() > detail::kMaxIgnoreCodes)
    return "--ignore: the check forgives " + std::to_string(detail::kMaxIgnoreCodes) +
           " codes at most";
  return "";
}

// CLI11's own ranges let a "nan" pass.
CLI::Validator secondsFrom(double least) {
  return CLI::Validator(
      [least](std::string const& text) -> std::string {
        double given = 0;
        if (CLI::detail::lexical_cast(text, given) && given >= least && given <= 1e9) return "";
        return "'" + text + "' is not a number of seconds here";
      },
      "SECONDS");
}

}  // namespace

command addRun(CLI::App& program, std::vector<std::string> words) {
  auto const chosen = std::make_shared<options>();
  chosen->words = std::move(words);
  CLI::App* const parser =
      program.add_subcommand("run", "Start a render, wait for all of it, run the check");
  parser->add_option("--deadline", chosen->deadline, "Seconds until the whole render is ended")
      ->check(secondsFrom(0.001));
  parser->add_option("--grace", chosen->grace, "Seconds between SIGTERM and SIGKILL then (10)")
      ->check(secondsFrom(0));
  parser->add_option("--process", chosen->process,
                     "Name of the render process that the check waits for; 15 bytes of it count");
  parser->add_option("--frame", chosen->frame, "Frame number");
  parser->add_option("--thread", chosen->thread, "Job thread (0)");
  parser->add_option("--instance", chosen->instance, "Render instance (255: none)");
  parser->add_option("--ignore", chosen->forgiven, "Exit code that counts as success; repeatable")
      ->allow_extra_args(false)
      ->check([](std::string const& text) {
        return parseExitCode(text) ? std::string() : "'" + text + "' is not an exit code";
      });
  parser->add_option("--check", chosen->check,
                     "The check; else qzCheckExitcode beside this program, else in PATH");
  parser->footer(
      "Behind '--' stands the command with its arguments. A terminal is not its standard input.\n"
      "The exit status is the command's, 128 plus the number for a signal, 127 or 126 if it can't\n"
      "be started. What the command leaves running is waited for if it has the name NAME.\n"
      "Example: qzframe run --process renderapp --frame 7 --ignore 211 -- renderapp -f 7 scene");
  return {parser, [chosen] {
            chosen->process = chosen->process.substr(0, kKernelNameBytes);
            std::string const fault = faultOf(*chosen);
            if (fault.empty()) return run(*chosen);
            complain(fault + " (try --help)");
            return kUsageStatus;
          }};
}

}  // namespace qz::companion
