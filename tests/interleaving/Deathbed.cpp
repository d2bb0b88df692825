#include "tests/interleaving/Deathbed.h"

#include <csignal>
#include <iostream>

// Only a sanitizer has it.
extern "C" __attribute__((weak)) void __sanitizer_set_death_callback(  // NOLINT(bugprone-reserved-identifier)
    void (*callback)());

namespace vellora::tests::interleaving {

namespace {

using Handler = void (*)(int);

const Choices* underWay = nullptr;
Handler beforeOnAbort = SIG_DFL;
Handler beforeOnFault = SIG_DFL;

void tell() {
  if (underWay) std::cerr << "by the schedule '" << underWay->text() << "'" << std::endl;
}

void tellOfSignal(int signal) {
  tell();
  std::signal(signal, signal == SIGABRT ? beforeOnAbort : beforeOnFault);
  std::raise(signal);
}

}  // namespace

// A sanitizer tells of a fault itself, but leaves it to others to say that the process aborts.
Deathbed::Deathbed(const Choices& choices) {
  underWay = &choices;
  beforeOnAbort = std::signal(SIGABRT, &tellOfSignal);
  if (__sanitizer_set_death_callback) {
    __sanitizer_set_death_callback(&tell);
  } else {
    beforeOnFault = std::signal(SIGSEGV, &tellOfSignal);
  }
}

Deathbed::~Deathbed() {
  underWay = nullptr;
  std::signal(SIGABRT, beforeOnAbort);
  if (!__sanitizer_set_death_callback) std::signal(SIGSEGV, beforeOnFault);
}

}  // namespace vellora::tests::interleaving
