#include "files/readfile.h"

const ReadFile* findInput(const std::string& outputFile, const std::vector<ReadFile>& inputs) {
  struct stat status {};
  const bool isThere = ::stat(outputFile.c_str(), &status) == 0;
  if (isThere && !S_ISREG(status.st_mode)) return nullptr;
  for (const ReadFile& input : inputs) {
    const bool isSame = isThere && input.identity == identityOf(status);
    if (isSame || input.name == outputFile) return &input;
  }
  return nullptr;
}
