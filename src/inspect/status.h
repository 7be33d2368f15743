// The exit status of ramgraft-inspect, with the meanings that cmp, diff and grep give it.
#ifndef RAMGRAFT_INSPECT_STATUS_H
#define RAMGRAFT_INSPECT_STATUS_H

enum class ExitStatus {
  FINE = 0,    ///< listed, extracted, the same, located
  NO = 1,      ///< differs, or not located
  FAILED = 2,  ///< could not be done: the reason is on standard error
};

#endif
