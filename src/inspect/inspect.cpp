#include "inspect/inspect.h"

#include <new>

#include "console/lines.h"
#include "files/process.h"
#include "inspect/commandline.h"
#include "inspect/diff.h"
#include "inspect/extract.h"
#include "inspect/list.h"
#include "inspect/locate.h"
#include "inspect/output.h"
#include "inspect/verify.h"

namespace {

ExitStatus run(const Request& request) {
  switch (request.kind) {
    case Request::Kind::LIST:
      return runList(request.commandLine);
    case Request::Kind::EXTRACT:
      return runExtract(request.commandLine);
    case Request::Kind::VERIFY:
      return runVerify(request.commandLine);
    case Request::Kind::DIFF:
      return runDiff(request.commandLine);
    case Request::Kind::LOCATE:
      return runLocate(request.commandLine);
    case Request::Kind::HELP:
      return putResult(std::nullopt, request.text, {});
    case Request::Kind::FAULT:
      break;
  }
  printDiagnostic("ERROR: ", request.text, "; ramgraft-inspect --help explains");
  return ExitStatus::FAILED;
}

}  // namespace

int runInspect(int argc, const char* const argv[]) {
  prepareProcess();
  try {
    return static_cast<int>(run(parseCommandLine(argc, argv)));
    // GCOVR_EXCL_START: a limit on memory would do it, but leaves no room for the counts.
  } catch (const std::bad_alloc&) {
    printDiagnostic("ERROR: out of memory");
    return static_cast<int>(ExitStatus::FAILED);
  }
  // GCOVR_EXCL_STOP
}
