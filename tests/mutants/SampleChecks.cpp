// A test program with as much of GoogleTest's command line as scripts/mutants asks for, compiled in no time.
#include <cstdio>
#include <cstring>

bool first(int number);
int second(int number);
int callsSoFar();

namespace {

bool firstHolds() {
  return first(4) && !first(3) && !first(5) && callsSoFar() == 3;
}

bool secondIsCalled() {
  second(2);
  return true;
}

struct Check {
  const char* name;
  bool (*holds)();
};

const Check checks[] = {{"SampleTest.FirstHolds", firstHolds}, {"SampleTest.SecondIsCalled", secondIsCalled}};

bool isWanted(const char* filter, const char* name) {
  return std::strstr(filter, name) != nullptr;
}

}  // namespace

int main(int, char** arguments) {
  if (std::strcmp(arguments[1], "--gtest_list_tests") == 0) {
    std::puts("SampleTest.\n  FirstHolds\n  SecondIsCalled");
    return 0;
  }
  for (const Check& check : checks) {
    if (isWanted(arguments[1], check.name) && !check.holds()) return 1;
  }
  return 0;
}
