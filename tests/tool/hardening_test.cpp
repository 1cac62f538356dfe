// The binary as it ships: one static file that no library can change, with what the tool chain has
// against mistakes in memory.
#include <elf.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

struct elf_file {
  std::vector<char> bytes;

  elf_file() {
    std::ifstream file(QZ_TOOL_PATH, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(file), {});
  }
  template <class T>
  std::vector<T> table(Elf64_Off offset, std::size_t count) const {
    std::vector<T> rows(count);
    std::memcpy(rows.data(), bytes.data() + offset, count * sizeof(T));
    return rows;
  }
  Elf64_Ehdr head() const { return table<Elf64_Ehdr>(0, 1)[0]; }
  std::vector<Elf64_Phdr> segments() const {
    return table<Elf64_Phdr>(head().e_phoff, head().e_phnum);
  }
  Elf64_Phdr const* segment(std::vector<Elf64_Phdr> const& all, unsigned type) const {
    for (auto const& one : all)
      if (one.p_type == type) return &one;
    return nullptr;
  }
  bool mentions(std::string const& symbol) const {
    std::string const sought = '\0' + symbol + '\0';
    return std::string_view(bytes.data(), bytes.size()).find(sought) != std::string_view::npos;
  }
};

TEST(ToolBinary, IsStaticRelocatableAndClosedAgainstOverwriting) {
  elf_file const file;
  ASSERT_GT(file.bytes.size(), sizeof(Elf64_Ehdr));
  auto const all = file.segments();
  EXPECT_EQ(file.head().e_type, ET_DYN);
  EXPECT_EQ(file.segment(all, PT_INTERP), nullptr);
  EXPECT_NE(file.segment(all, PT_GNU_RELRO), nullptr);
  auto const* const stack = file.segment(all, PT_GNU_STACK);
  ASSERT_NE(stack, nullptr);
  EXPECT_EQ(stack->p_flags & PF_X, 0U);

  auto const* const dynamic = file.segment(all, PT_DYNAMIC);
  ASSERT_NE(dynamic, nullptr);
  unsigned long flags = 0;
  for (auto const& entry :
       file.table<Elf64_Dyn>(dynamic->p_offset, dynamic->p_filesz / sizeof(Elf64_Dyn))) {
    EXPECT_NE(entry.d_tag, DT_NEEDED);
    if (entry.d_tag == DT_FLAGS_1) flags = entry.d_un.d_val;
  }
  EXPECT_EQ(flags & (DF_1_NOW | DF_1_PIE), static_cast<unsigned long>(DF_1_NOW | DF_1_PIE));
}

TEST(ToolBinary, GuardsItsStackAndItsFormats) {
  elf_file const file;
  EXPECT_TRUE(file.mentions("__stack_chk_fail"));
#ifndef __clang__  // whose C++ calls the C library's own printf
  EXPECT_TRUE(file.mentions("__printf_chk"));
#endif
}

}  // namespace
