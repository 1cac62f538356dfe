// Linked into the tests with coverage counters alone, in place of _exit(2) (ld --wrap): a forked
// test that ends so would take its counts along.
extern "C" {
void __gcov_dump();
[[noreturn]] void __real__exit(int status);
[[noreturn]] void __wrap__exit(int status);
}

void __wrap__exit(int status) {
  __gcov_dump();
  __real__exit(status);
}
