// Fixed cases whose instructions are counted: fixed_cases NAME runs one, without a name it lists
// them. callgrind(1) collects in fixedCase alone, so that neither the start of a program nor what a
// case prepares counts. scripts/bench --check puts the counts beside bench/instructions.txt.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "data/a85.h"
#include "data/byte_search.h"
#include "data/checksums.h"
#include "data/data_buffer.h"
#include "files/paths.h"
#include "process/proc_text.h"
#include "process/process_table.h"
#include "strings/string16.h"
#include "strings/string8.h"
#include "strings/string_list.h"
#include "time/time_value.h"

namespace {

using text250 = _qzString8_allSize<250>;
using record = _qzProcessList3_data::_prcInfo;

template <class Value>
void seen(Value& value) {
  asm volatile("" : : "r"(&value) : "memory");
}

struct input {
  std::string words;
  text250 text, upper, word = "SHADOW", number = "-1234567";
  _qzString8_allSize<5000> frames, from = "fRAME", to = "Slices";
  std::vector<unsigned char> bytes;
  _QZ_DataBuffer buffer;
  std::vector<record> records;
  std::vector<_qzString<500>> names;

  input() {
    while (words.size() < 5000) words += "node render shader cache miss texture bucket sample ";
    text = words.substr(0, 250).c_str();
    upper = text;
    for (int i = 0; i < upper.length; ++i)
      if (upper.data[i] >= 'a' && upper.data[i] <= 'z')
        upper.data[i] = static_cast<char>(upper.data[i] - 32);
    for (int i = 0; i < 330; ++i) frames += "some Frame 0042";
    for (unsigned i = 0; i < 65'536; ++i)
      bytes.push_back(static_cast<unsigned char>(i * 2'654'435'761u >> 24));
    buffer.append(words.data(), static_cast<int>(words.size()));
    for (unsigned i = 0; i < 1000; ++i) {
      record item = {};
      item.name = "renderapp";
      item.pid = i * 7919 % 1000;
      records.push_back(item);
    }
    for (auto const& item : records) {
      names.emplace_back("frame ");
      names.back().addNr(static_cast<int>(item.pid));
    }
    names.resize(100);
  }
};

// A case is run as often as it says.
struct fixed_case {
  char const* name;
  int times;
  void (*run)(input&);
};

fixed_case const kCases[] = {
    {"construct", 1000,
     [](input& in) {
       text250 s(in.words.c_str());
       seen(s);
     }},
    {"append", 1000,
     [](input& in) {
       text250 s;
       for (int i = 0; i < 30; ++i) s += "a word ";
       for (int i = 0; i < 30; ++i) s += 'c';
       seen(s);
       seen(in);
     }},
    {"compare", 1000,
     [](input& in) {
       int order = in.text.compare(in.upper);
       seen(order);
     }},
    {"find", 1000,
     [](input& in) {
       int place = in.text.indexOf(in.word) + in.text.indexOfCaseSen(in.word);
       seen(place);
     }},
    {"split", 100,
     [](input& in) {
       text250 rest = in.text;
       while (rest.hasData()) {
         auto piece = rest.leftNCut(' ', false);
         seen(piece);
       }
     }},
    {"replace", 5,
     [](input& in) {
       auto s = in.frames;
       s.replace(in.from, in.to);
       seen(s);
     }},
    {"numbers", 1000,
     [](input& in) {
       text250 s;
       bool ok;
       s.addNr(in.number.toInt(&ok));
       s.addHexCode(0x1A2B3C);
       seen(s);
     }},
    {"widen", 1000,
     [](input& in) {
       _qzString<250> wide(in.text.data);
       auto narrow = wide.to_qzString8_250();
       seen(narrow);
     }},
    {"list", 1,
     [](input& in) {
       _qzStringList list;
       for (auto const& name : in.names) list.append(name, true, false);
       list.sort(false);
       seen(list);
     }},
    {"checksums", 1,
     [](input& in) {
       auto const count = static_cast<unsigned>(in.bytes.size());
       auto sum = qzCRCCalc(in.bytes.data(), count) + qzCRCCalc64(in.bytes.data(), count) +
                  qzCRCCalc16(in.bytes.data(), count);
       seen(sum);
     }},
    {"a85", 1,
     [](input& in) {
       for (std::size_t i = 0; i < in.bytes.size(); i += 4) {
         unsigned int word = 0;
         char text[5];
         std::memcpy(&word, &in.bytes[i], sizeof word);
         int const count = toA85(word, text);
         seen(text);
         fromA85(text, word, count);
         seen(word);
       }
     }},
    {"buffer", 20,
     [](input& in) {
       _QZ_DataBuffer buffer;
       for (int i = 0; i < 1000; ++i) buffer.write(in.words.data(), 10);
       seen(buffer);
     }},
    {"search", 100,
     [](input& in) {
       int place = in.buffer.indexOf(in.word, 0) + in.buffer.indexOfIgnCase(in.number, 0);
       seen(place);
     }},
    {"skips", 100,
     [](input& in) {
       auto const* bytes = reinterpret_cast<char const*>(in.bytes.data());
       auto const count = static_cast<int>(in.bytes.size());
       int place = qz::detail::findBytes(bytes, count, in.text) +
                   qz::detail::findBytesIgnCase(bytes, count, in.text);
       seen(place);
     }},
    {"time", 1000,
     [](input& in) {
       auto text = _qzTime(1'794'802'077LL, true).asQZ8StringMt();
       seen(text);
       seen(in);
     }},
    {"paths", 1000,
     [](input& in) {
       auto path = qzPathResolve(_qzString8_allSize<500>("/mnt/seq_010//maps/../render/a.exr"));
       auto name = qzGetFileName(path);
       seen(name);
       seen(in);
     }},
    {"sort", 1,
     [](input& in) {
       qzQuicksort_2_plist(in.records.data(), static_cast<int>(in.records.size()), false);
       seen(in);
     }},
    {"stat line", 1000,
     [](input& in) {
       static char const text[] =
           "4711 (renderapp) S 1 4711 4711 0 -1 4194560 2719 51347 12 89 144 58 120 33 20 0 8 0 "
           "1234 22880256 1291 18446744073709551615 1 1 0 0 0 0 671173123 4096 1260 0";
       qz::detail::stat_line line;
       bool ok = qz::detail::parseStatLine(text, sizeof text - 1, &line);
       seen(ok);
       seen(line);
       seen(in);
     }},
};

}  // namespace

// What is counted; its name is known to scripts/bench.
extern "C" [[gnu::noinline]] void fixedCase(fixed_case const& what, input& in) {
  for (int i = 0; i < what.times; ++i) what.run(in);
}

int main(int argc, char** argv) {
  input in;
  for (auto const& known : kCases) {
    if (argc < 2) std::puts(known.name);
    if (argc < 2 || std::strcmp(argv[1], known.name) != 0) continue;
    fixedCase(known, in);
    return 0;
  }
  return argc < 2 ? 0 : 2;
}
