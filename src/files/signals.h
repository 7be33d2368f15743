// SignalHold: no signal comes while something is half done.
#ifndef RAMGRAFT_FILES_SIGNALS_H
#define RAMGRAFT_FILES_SIGNALS_H

#include <csignal>

/// Blocks all signals that can be blocked, from begin() until it is destroyed. One that came in
/// between takes effect then, and may end the run, which has left nothing half done. Nothing is
/// blocked without begin().
class SignalHold {
 public:
  SignalHold();
  SignalHold(const SignalHold&) = delete;
  SignalHold& operator=(const SignalHold&) = delete;
  ~SignalHold();

  void begin() const;

 private:
  sigset_t before{};
};

#endif
