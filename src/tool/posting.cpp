#include "tool/posting.h"

#include "sharedmem/shared_memory.h"
#include "strings/formatted_text.h"
#include "tool/report.h"

namespace qz::detail {
namespace {

static_assert(kNotGiven == kClientBlockNoFrame);

void fail(run_state& run, line_text const& what, line_text const& why = "") {
  run.isError = true;
  printLine(true, what, why, "");
}

void failWithSize(run_state& run, int size) {
  fail(run, formattedText("Shared memory has wrong data size! (%d!=%d)", size, kClientBlockBytes));
}

// Names 1 as the wanted state of readiness, though any value but 0 will do.
void failWithMarks(run_state& run, int magic, int version, int ready) {
  fail(run, formattedText("Shared memory has wrong data format! (%d!=%d  %d!=%d  %d!=%d)", magic,
                          kClientBlockMagic, version, kClientBlockVersion, ready, 1));
}

// The stores are volatile, so that they come in this order.
void append(client_block volatile& block, run_state& run) {
  int const slot = block.messageCount;
  if (slot >= kClientBlockSlots) return fail(run, "Message buffer is full!");

  // Required: the count comes first. A reader without the lock can see a slot not yet filled.
  block.messageCount = static_cast<unsigned char>(slot + 1);
  block.messageKind[slot] = 0;
  block.messageIsError[slot] = run.isError ? 1 : 0;
  block.messageFrame[slot] = run.frameNumber;
  block.messageRenderInstance[slot] = static_cast<unsigned char>(run.renderInstance);
  block.messageJobThread[slot] = static_cast<unsigned char>(run.jobThreadId);
}

void postInto(qzSharedMemory& memory, run_state& run) {
  if (memory.size() < kClientBlockBytes) return failWithSize(run, memory.size());
  void* const bytes = memory.data();
  if (bytes == nullptr)
    return fail(run, "Unable to access shared memory data!", memory.errorString());
  if (!memory.lock()) return fail(run, "Unable to lock shared memory data!", memory.errorString());

  postInto(*static_cast<client_block*>(bytes), run);
  memory.unlock();
}

}  // namespace

void postInto(client_block volatile& block, run_state& run) {
  int const magic = static_cast<int>(block.blockMagic);
  int const version = block.blockVersion;
  int const ready = block.blockReady;
  if (magic != kClientBlockMagic || version != kClientBlockVersion || ready == 0)
    failWithMarks(run, magic, version, ready);
  else
    append(block, run);
}

void postMessage(run_state& run) {
  qzSharedMemory memory(kClientBlockName);
  if (!memory.attach()) return fail(run, "Unable to attach shared memory!", memory.errorString());
  postInto(memory, run);
  memory.detach();
}

}  // namespace qz::detail
