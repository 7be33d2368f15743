#include "load/load.h"

int main(int argc, char* argv[]) { return runLoad(argc, argv); }
