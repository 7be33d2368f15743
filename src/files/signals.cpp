#include "files/signals.h"

SignalHold::SignalHold() { ::sigprocmask(SIG_BLOCK, nullptr, &before); }

SignalHold::~SignalHold() { ::sigprocmask(SIG_SETMASK, &before, nullptr); }

void SignalHold::begin() const {
  sigset_t all;
  ::sigfillset(&all);
  ::sigprocmask(SIG_BLOCK, &all, nullptr);
}
