// Base-85 text of 1 MiB, both ways, and its file form.
#include <zmq.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "data/a85.h"
#include "data/data_buffer.h"
#include "race.h"

namespace {

constexpr int kBytes = 1 << 20;
constexpr int kChars = kBytes / 4 * 5;

// A run is long, so a few turns are enough.
void inFewTurns(benchmark::internal::Benchmark* benchmark) {
  benchmark->Iterations(31)->UseManualTime();
}

std::vector<std::uint8_t> randomBytes() {
  std::vector<std::uint8_t> bytes(kBytes);
  std::mt19937 random(85);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

std::uint32_t wordAt(std::uint8_t const* bytes) {
  std::uint32_t word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// --- one word after the other ---

int encodeOurs(std::vector<std::uint8_t> const& bytes, char* text) {
  char* end = text;
  for (int i = 0; i < kBytes; i += 4)
    end += toA85(wordAt(&bytes[static_cast<std::size_t>(i)]), end);
  return static_cast<int>(end - text);
}

void encodePlainly(std::vector<std::uint8_t> const& bytes, char* text) {
  for (int i = 0; i < kBytes; i += 4) {
    std::uint32_t word = wordAt(&bytes[static_cast<std::size_t>(i)]);
    for (int k = 0; k < 5; ++k, word /= 85) *text++ = qzA85Lookup[word % 85];
  }
}

void encode(benchmark::State& state) {
  auto bytes = randomBytes();
  std::vector<char> ours(kChars + 5), plain(kChars), z85(kChars + 1);
  seen(bytes);
  race(
      state,
      [&] {
        int count = encodeOurs(bytes, ours.data());
        seen(count);
      },
      contestant{"loop",
                 [&] {
                   encodePlainly(bytes, plain.data());
                   seen(plain);
                 }},
      contestant{"z85", [&] {
                   char* text = zmq_z85_encode(z85.data(), bytes.data(), bytes.size());
                   seen(text);
                 }});
}
BENCHMARK(encode)->Apply(inFewTurns);

std::array<std::uint8_t, 256> digitsOf(char const* alphabet) {
  std::array<std::uint8_t, 256> digits{};
  for (std::uint8_t i = 0; i < 85; ++i) digits[static_cast<std::uint8_t>(alphabet[i])] = i;
  return digits;
}

void decode(benchmark::State& state) {
  static auto const digits = digitsOf(qzA85Lookup);
  auto bytes = randomBytes();
  std::vector<char> text(kChars + 5), z85(kChars + 1);
  int const count = encodeOurs(bytes, text.data());
  std::vector<char> plainText(kChars);
  encodePlainly(bytes, plainText.data());
  zmq_z85_encode(z85.data(), bytes.data(), bytes.size());
  std::vector<std::uint8_t> ours(kBytes), plain(kBytes), theirs(kBytes);
  seen(text);
  race(
      state,
      [&] {
        std::uint8_t* target = ours.data();
        for (int at = 0; at < count; target += 4) {
          unsigned int word = 0;
          at += fromA85(&text[static_cast<std::size_t>(at)], word, count - at);
          std::memcpy(target, &word, sizeof word);
        }
        seen(ours);
      },
      contestant{"loop",
                 [&] {
                   char const* in = plainText.data();
                   for (int i = 0; i < kBytes; i += 4, in += 5) {
                     std::uint32_t word = 0;
                     for (int k = 4; k >= 0; --k)
                       word = word * 85 + digits[static_cast<std::uint8_t>(in[k])];
                     std::memcpy(&plain[static_cast<std::size_t>(i)], &word, sizeof word);
                   }
                   seen(plain);
                 }},
      contestant{"z85", [&] {
                   auto* data = zmq_z85_decode(theirs.data(), z85.data());
                   seen(data);
                 }});
}
BENCHMARK(decode)->Apply(inFewTurns);

// --- the file form; whoever works in place begins with a copy of the text, into room that it has
// ---

std::string plainText() {
  std::string text(kChars + 5, 0);
  text.resize(static_cast<std::size_t>(encodeOurs(randomBytes(), text.data())));
  return text;
}

std::string const kMarkLine = std::string("\r\n") + qzA85_StartEnd + "\r\n";

void putFileForm(std::string const& text, std::string& form) {
  form = kMarkLine;
  form.reserve(text.size() + text.size() / 100 * 2 + 72);
  for (std::size_t at = 0; at < text.size(); at += 100) {
    form.append(text, at, 100);
    if (text.size() - at >= 100) form += "\r\n";
  }
  form += kMarkLine;
}

void fill(_QZ_DataBuffer& buffer, std::string const& text) {
  buffer.copyFromBuffer(text.data(), static_cast<int>(text.size()));
  buffer.dataSize = static_cast<int>(text.size());
  buffer.isEncoded = true;
  buffer.encodedForm = 3;
}

void formatForFile(benchmark::State& state) {
  auto text = plainText();
  seen(text);
  _QZ_DataBuffer buffer;
  std::string copy, form;
  race(
      state,
      [&] {
        fill(buffer, text);
        buffer.A85_formatForFile(true);
        seen(buffer);
      },
      contestant{"string", [&] {
                   copy = text;
                   putFileForm(copy, form);
                   seen(form);
                 }});
}
BENCHMARK(formatForFile)->Apply(inFewTurns);

void cleantext(benchmark::State& state) {
  std::string form;
  putFileForm(plainText(), form);
  std::array<bool, 256> keep{};
  for (char const* c = qzA85Lookup; *c != 0; ++c) keep[static_cast<std::uint8_t>(*c)] = true;
  keep['z'] = keep['^'] = true;
  seen(form);
  seen(keep);
  _QZ_DataBuffer buffer;
  std::string filtered, appended;
  race(
      state,
      [&] {
        fill(buffer, form);
        buffer.A85_cleantext(true);
        seen(buffer);
      },
      contestant{"table",
                 [&] {
                   filtered = form;
                   std::size_t count = 0;
                   for (char c : filtered) {
                     filtered[count] = c;
                     count += keep[static_cast<std::uint8_t>(c)];
                   }
                   filtered.resize(count);
                   seen(filtered);
                 }},
      contestant{"push_back", [&] {
                   appended.clear();
                   for (char c : form)
                     if (keep[static_cast<std::uint8_t>(c)]) appended.push_back(c);
                   seen(appended);
                 }});
}
BENCHMARK(cleantext)->Apply(inFewTurns);

}  // namespace
