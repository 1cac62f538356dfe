// qzframe block: looks at the client's block (show, watch, check), and touches it when told so
// (drain, unlock, hold, create).
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>

#include "companion/block_segment.h"
#include "companion/command.h"
#include "companion/terminal.h"
#include "sharedmem/shared_memory.h"
#include "tool/system_services.h"

namespace qz::companion {
namespace {

constexpr int kFailed = 1;
constexpr double kStuckSeconds = 5;

struct options {
  bool asJson = false;
  bool yes = false;
  int intervalMs = 500;
  int blockBytes = kClientBlockBytes;
  int warnMessages = 10;
  int criticalMessages = 25;
  double lockSeconds = 3;
};

volatile std::sig_atomic_t endRequested = 0;

void endOnSignals() {
  struct sigaction action = {};
  action.sa_handler = [](int) { endRequested = 1; };
  for (int const number : {SIGINT, SIGTERM, SIGHUP}) sigaction(number, &action, nullptr);
  (void)std::signal(SIGPIPE, SIG_IGN);  // a reader that goes away shows as a failure to write
}

std::string hexText(char const* format, unsigned number) {
  char text[32];
  std::snprintf(text, sizeof text, format, number);
  return text;
}

std::string shortText(double number) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", number);
  return text;
}

// Says why there is nothing to see, or returns true.
bool isSeen(block_look const& look) {
  if (look.outcome == block_look::seen) return true;
  if (look.outcome == block_look::absent)
    complain("no client keeps a block here (key " + hexText("0x%08x", look.key) +
             "); a container has blocks of its own");
  else
    complain("the block " + std::to_string(look.id) + " of " + userName(look.owner) +
             hexText(" (mode %04o)", look.mode) +
             " can't be looked at: " + std::strerror(look.code));
  return false;
}

// --- show ---

std::string frameText(block_message const& one) {
  return one.frame == kClientBlockNoFrame ? "none" : std::to_string(one.frame);
}

std::string markText(char const* name, unsigned found, unsigned wanted, bool isRight) {
  return std::string(name) + " " + std::to_string(found) +
         (isRight ? "" : coloured(stdout, colour::red, " (wanted " + std::to_string(wanted) + ")"));
}

void printText(block_look const& look) {
  std::printf("key        0x%08x, id %d\n", look.key, look.id);
  std::printf("owner      %s, mode %04o%s\n", userName(look.owner).c_str(), look.mode,
              look.isMarkedForRemoval ? ", marked for removal" : "");
  std::printf("size       %lld bytes of data%s\n", look.dataBytes,
              look.isLargeEnough ? "" : coloured(stdout, colour::red, ", too few").c_str());
  std::printf("attached   %lu", look.attached);
  auto const processes = attachedProcesses(look.id);
  for (auto const& one : processes)
    std::printf("%s %s", &one == &processes.front() ? ":" : ",", printable(one).c_str());
  std::printf("\nlock       %s\n",
              look.lockByte == 0 ? "free" : coloured(stdout, colour::yellow, "held").c_str());
  if (!look.isLargeEnough) return;
  std::printf(
      "marks      %s, %s, %s\n",
      markText("magic", look.magic, kClientBlockMagic, look.magic == kClientBlockMagic).c_str(),
      markText("version", look.version, kClientBlockVersion, look.version == kClientBlockVersion)
          .c_str(),
      markText("ready", look.ready, 1, look.ready != 0).c_str());
  std::printf("messages   %d of %d\n", look.count, kClientBlockSlots);
  for (std::size_t slot = 0; slot < look.messages.size(); ++slot) {
    block_message const& one = look.messages[slot];
    std::printf("  %2zu  %s  frame %s, job thread %d, render instance %d, kind %d\n", slot,
                one.isError ? coloured(stdout, colour::red, "error").c_str()
                            : coloured(stdout, colour::green, "good ").c_str(),
                frameText(one).c_str(), one.jobThread, one.renderInstance, one.kind);
  }
}

void printJson(block_look const& look) {
  nlohmann::ordered_json all = {{"key", hexText("0x%08x", look.key)},
                                {"id", look.id},
                                {"owner", userName(look.owner)},
                                {"mode", hexText("%04o", look.mode)},
                                {"markedForRemoval", look.isMarkedForRemoval},
                                {"dataBytes", look.dataBytes},
                                {"attached", look.attached},
                                {"processes", attachedProcesses(look.id)},
                                {"lockByte", look.lockByte}};
  if (look.isLargeEnough) {
    all["magic"] = look.magic;
    all["version"] = look.version;
    all["ready"] = look.ready;
    all["count"] = look.count;
    all["messages"] = nlohmann::ordered_json::array();
    for (block_message const& one : look.messages) {
      nlohmann::ordered_json frame = nullptr;
      if (one.frame != kClientBlockNoFrame) frame = one.frame;
      all["messages"].push_back({{"isError", one.isError},
                                 {"frame", frame},
                                 {"jobThread", one.jobThread},
                                 {"renderInstance", one.renderInstance},
                                 {"kind", one.kind}});
    }
  }
  // A process chooses its own name, of any bytes.
  std::printf("%s\n",
              all.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
}

int show(options const& chosen) {
  block_look const look = lookAtBlock();
  if (!isSeen(look)) return kFailed;
  if (chosen.asJson)
    printJson(look);
  else
    printText(look);
  return 0;
}

// --- watch ---

std::string stateLine(block_look const& look) {
  if (look.outcome == block_look::absent) return "no block";
  if (look.outcome == block_look::refused)
    return std::string("refused: ") + std::strerror(look.code);
  return "id " + std::to_string(look.id) + ", " + std::to_string(look.count) + " messages, " +
         std::to_string(look.attached) + " attached, lock " +
         (look.lockByte == 0 ? "free" : "held") + (look.hasMarks() ? "" : ", wrong marks");
}

int watch(options const& chosen) {
  endOnSignals();
  for (std::string last; endRequested == 0; qzSleep(chosen.intervalMs)) {
    std::string const now = stateLine(lookAtBlock());
    if (now == last) continue;
    std::time_t const seconds = std::time(nullptr);
    std::tm local = {};
    localtime_r(&seconds, &local);
    char stamp[16];
    std::strftime(stamp, sizeof stamp, "%H:%M:%S", &local);
    std::printf("%s  %s\n", stamp, now.c_str());
    if (std::fflush(stdout) != 0) return kFailed;
    last = now;
  }
  return 0;
}

// --- check ---

enum class health { ok, warning, critical, unknown };  // the exit statuses of monitoring systems

struct finding {
  health level;
  std::string words;
};

finding judge(block_look const& look, options const& chosen) {
  using enum health;
  if (look.outcome == block_look::absent) return {critical, "no client keeps a block"};
  if (look.outcome == block_look::refused)
    return {unknown, std::string("the block can't be looked at: ") + std::strerror(look.code)};
  if (!look.isLargeEnough)
    return {critical, "key clash or foreign segment: it has " + std::to_string(look.dataBytes) +
                          " bytes of data, a block has " + std::to_string(kClientBlockBytes)};
  if (!look.hasMarks())
    return {critical, "wrong marks " + std::to_string(look.magic) + "/" +
                          std::to_string(look.version) + "/" + std::to_string(look.ready) +
                          ": the client is not ready, or the key belongs to another program"};
  if (look.attached == 0)
    return {critical, "nobody is attached: the client has died, the next tool removes the block"};
  if (look.lockByte != 0 && secondsHeld(chosen.lockSeconds) >= chosen.lockSeconds)
    return {critical,
            "the lock is held for more than " + shortText(chosen.lockSeconds) + " seconds"};
  std::string const waiting = std::to_string(look.count) + " messages waiting";
  if (look.count >= chosen.criticalMessages) return {critical, waiting};
  if (look.count >= chosen.warnMessages) return {warning, waiting};
  return {ok, waiting};
}

int check(options const& chosen) {
  block_look const look = lookAtBlock();
  finding const found = judge(look, chosen);
  constexpr char const* kWords[] = {"OK", "WARNING", "CRITICAL", "UNKNOWN"};
  int const status = static_cast<int>(found.level);
  std::printf("BLOCK %s - %s", kWords[status], found.words.c_str());
  if (look.outcome == block_look::seen && look.isLargeEnough)
    std::printf(" | messages=%d;%d;%d;0;%d attached=%lu", look.count, chosen.warnMessages,
                chosen.criticalMessages, kClientBlockSlots, look.attached);
  std::printf("\n");
  return status;
}

// --- drain, unlock, hold, create: these write ---

// Attached for writing. It leaves the segment alone when it goes.
struct guest {
  qzSharedMemory memory{kClientBlockName};

  guest() = default;
  guest(guest const&) = delete;
  guest& operator=(guest const&) = delete;
  // Without a key the object gives up its lock and its mapping, but never removes the segment.
  ~guest() { memory.key = 0; }
};

bool enter(guest& one) {
  // An attach that is refused may remove a segment that nobody uses, so it isn't tried then.
  if (int const cause = causeAgainstWriting(); cause != 0) {
    complain(std::string("the block can't be written: ") + std::strerror(cause));
    return false;
  }
  if (one.memory.attach()) return true;
  complain(std::string("the block can't be written: ") + one.memory.errorString().asChar());
  return false;
}

bool isAgreed(options const& chosen, std::string const& question) {
  if (chosen.yes || confirm(question)) return true;
  complain("nothing was done; --yes does it without a question");
  return false;
}

void printMessages(std::FILE* stream, block_look const& drained) {
  for (block_message const& each : drained.messages)
    std::fprintf(stream, "%s, frame %s, job thread %d, render instance %d\n",
                 each.isError ? "error" : "good", frameText(each).c_str(), each.jobThread,
                 each.renderInstance);
}

// Takes the messages out of a block in order.
bool takeMessages(guest& one, block_look& taken) {
  if (one.memory.size() < kClientBlockBytes || !one.memory.lock()) {
    complain(std::string("the block can't be locked: ") + one.memory.errorString().asChar());
    return false;
  }
  auto& block = *static_cast<client_block volatile*>(one.memory.data());
  readBlock(block, taken);
  if (taken.hasMarks()) block.messageCount = 0;
  one.memory.unlock();
  if (!taken.hasMarks()) complain("this is no client's block in order; see 'qzframe block show'");
  return taken.hasMarks();
}

int drain(options const& chosen) {
  block_look look = lookAtBlock();
  if (!isSeen(look)) return kFailed;
  if (!isAgreed(chosen, "Take " + std::to_string(look.count) +
                            " messages out of the block? The client will not see them."))
    return kFailed;
  endOnSignals();  // none ends this program while it has the lock or the only copy
  guest one;
  look.messages.clear();
  if (!enter(one) || !takeMessages(one, look)) return kFailed;
  if (chosen.asJson)
    printJson(look);
  else
    printMessages(stdout, look);
  if (std::fflush(stdout) == 0) return 0;
  complain("standard output can't be written; the messages were:");
  printMessages(stderr, look);
  return kFailed;
}

int unlock(options const& chosen) {
  block_look const look = lookAtBlock();
  if (!isSeen(look)) return kFailed;
  if (!isAgreed(chosen,
                "Free the lock if it stays held for 5 seconds? Whoever holds it may be at "
                "work."))
    return kFailed;
  guest one;
  if (!enter(one)) return kFailed;
  if (double const held = secondsHeld(*one.memory.lockByte, kStuckSeconds); held < kStuckSeconds) {
    complain(held < 0.01 ? "the lock is free" : "the lock is in use, but not stuck: it came free");
    return kFailed;
  }
  if (lookAtBlock().id != look.id) {
    complain("the block was replaced meanwhile; look at the new one");
    return kFailed;
  }
  *one.memory.lockByte = 0;
  std::printf("The lock was held for 5 seconds without a break, and is free now.\n");
  return 0;
}

int stayAttached(guest& one) {
  endOnSignals();
  int const id = lookAtBlock().id;
  std::printf("Attached to the block, key 0x%08x; Ctrl-C leaves it.\n", one.memory.key);
  (void)std::fflush(stdout);  // whoever reads it may be gone: the block counts
  for (int look = 0; endRequested == 0; look = (look + 1) % 10) {
    qzSleep(100);
    if (look == 0 && lookAtBlock().id != id) {
      complain("the block was removed; nothing is left to hold");
      return kFailed;
    }
  }
  block_look const look = lookAtBlock();
  if (look.outcome == block_look::seen && look.attached <= 1)
    std::printf(
        "Nobody else is attached: the next tool will remove the block with its %d messages, "
        "or 'ipcrm -m %d' does.\n",
        look.count, look.id);
  return 0;
}

int hold(options const& chosen) {
  if (!isSeen(lookAtBlock())) return kFailed;
  if (!isAgreed(chosen, "Stay attached, so that the block stays even if its client dies?"))
    return kFailed;
  guest one;
  return enter(one) ? stayAttached(one) : kFailed;
}

int create(options const& chosen) {
  if (!isAgreed(chosen, "Create a block in place of a client's and stay attached to it?"))
    return kFailed;
  guest one;
  if (!one.memory.create(chosen.blockBytes, false, false)) {
    complain(std::string("no block was created: ") + one.memory.errorString().asChar());
    return kFailed;
  }
  auto& block = *static_cast<client_block volatile*>(one.memory.data());
  block.blockMagic = kClientBlockMagic;
  block.blockVersion = kClientBlockVersion;
  block.blockReady = 1;
  return stayAttached(one);
}

}  // namespace

command addBlock(CLI::App& program) {
  CLI::App* const parser =
      program.add_subcommand("block", "Look into the client's block of messages");
  parser->require_subcommand(1);
  parser->footer("Example: qzframe block show --json");
  auto const chosen = std::make_shared<options>();
  auto const words = std::make_shared<std::vector<command>>();
  auto const word = [&](char const* name, char const* help, char const* footer,
                        int (*action)(options const&)) {
    CLI::App* const one = parser->add_subcommand(name, help);
    one->footer(footer);
    words->push_back({one, [chosen, action] { return action(*chosen); }});
    return one;
  };
  auto const withYes = [&](CLI::App* one) {
    one->add_flag("--yes", chosen->yes, "Don't ask");
    return one;
  };

  word("show", "Print the segment and every message; changes nothing",
       "Exit status: 1 if there is no block to see.\nExample: qzframe block show", show)
      ->add_flag("--json", chosen->asJson, "Print JSON");

  word("watch", "Print a line whenever the block changes, until Ctrl-C",
       "Example: qzframe block watch --interval 100", watch)
      ->add_option("--interval", chosen->intervalMs, "Milliseconds between two looks (500)")
      ->check(CLI::Range(1, 3600000));

  CLI::App* const checking =
      word("check", "Judge the block for a monitoring system",
           "Exit status: 0 ok, 1 warning, 2 critical, 3 unknown.\n"
           "Example: qzframe block check --warning 5 --critical 20 --lock 10",
           check);
  checking->add_option("--warning", chosen->warnMessages, "Messages waiting, from here on (10)")
      ->check(CLI::Range(0, kClientBlockSlots + 1));
  checking
      ->add_option("--critical", chosen->criticalMessages, "Messages waiting, from here on (25)")
      ->check(CLI::Range(0, kClientBlockSlots + 1));
  checking->add_option("--lock", chosen->lockSeconds, "Seconds for which the lock may be held (3)")
      ->check(CLI::Range(0.1, 3600.0));

  withYes(word("drain", "Take the messages out and print them, in place of the client",
               "Example: qzframe block drain --yes --json", drain))
      ->add_flag("--json", chosen->asJson, "Print JSON");
  withYes(word("unlock", "Free a lock whose holder has died, seen held for 5 seconds",
               "Example: qzframe block unlock --yes", unlock));
  withYes(word("hold", "Stay attached, so that a client's crash loses nothing",
               "Example: qzframe block hold --yes", hold));
  withYes(word("create", "Create a block and stay attached, to try things without a client",
               "Example: qzframe block create --yes", create))
      ->add_option("--size", chosen->blockBytes, "Bytes of data (22988)")
      ->check(CLI::Range(kClientBlockBytes, 1 << 30));

  return {parser, [words] {
            for (command const& one : *words)
              if (one.parser->parsed()) return one.run();
            return kUsageStatus;
          }};
}

}  // namespace qz::companion
