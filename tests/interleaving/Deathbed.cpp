#include "tests/interleaving/Deathbed.h"

#include <csignal>
#include <cstdlib>
#include <iostream>

// Only a sanitizer has it.
extern "C" __attribute__((weak)) void __sanitizer_set_death_callback(  // NOLINT(bugprone-reserved-identifier)
    void (*callback)());

namespace vellora::tests::interleaving {

namespace {

const Choices* underWay = nullptr;

void tell() {
  if (underWay) std::cerr << "by the schedule '" << underWay->text() << "'" << std::endl;
}

void tellOfSignal(int signal) {
  tell();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

}  // namespace

Deathbed::Deathbed(const Choices& choices) {
  underWay = &choices;
  if (__sanitizer_set_death_callback) {
    __sanitizer_set_death_callback(&tell);
  } else {
    std::signal(SIGSEGV, &tellOfSignal);
    std::signal(SIGABRT, &tellOfSignal);
  }
}

Deathbed::~Deathbed() {
  underWay = nullptr;
}

}  // namespace vellora::tests::interleaving
