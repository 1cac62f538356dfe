// What the exit-code check is measured against: an empty program that makes the same sleeps and
// prints the same bytes as a good frame's report, and is linked in the same way.
#include <unistd.h>

#include <cstdio>

int main(int argc, char** argv) {
  std::fflush(stdout);
  usleep(350 * 1000);
  usleep(350 * 1000);
  if (argc > 1) std::fputs(argv[1], stdout);
  std::fflush(stdout);
  return 0;
}
