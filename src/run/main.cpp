#include "run/ramgraft.h"

int main(int argc, char* argv[]) { return runRamgraft(argc, argv); }
