#include "inspect/inspect.h"

int main(int argc, char* argv[]) { return runInspect(argc, argv); }
