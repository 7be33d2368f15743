// The exit status of a companion of ramgraft, with the meanings that cmp, diff and grep give it.
#ifndef RAMGRAFT_COMPANION_STATUS_H
#define RAMGRAFT_COMPANION_STATUS_H

enum class ExitStatus {
  FINE = 0,    ///< done; of a question: yes
  NO = 1,      ///< a clear "no"
  FAILED = 2,  ///< could not be done: the reason is on standard error
};

#endif
