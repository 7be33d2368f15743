// ramgraft-inspect locate: gives back the map and the width files that a design was made with.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include "deepdesign.h"
#include "inspected.h"

namespace {

void write(const std::string& name, const std::string& text) {
  std::ofstream(name, std::ios::binary) << text;
}

std::string brokenWids(const std::map<std::string, std::string>& wids) {
  for (const auto& [name, text] : wids) {
    if (contentsOf(name.c_str()) != text) return name + ":\n" + text;
  }
  return "";
}

TEST(Locate, GivesBackWhatADesignWasMadeWith) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 60; ++i) {
    outputOf([] {});  // makes the working folder
    std::vector<Deep> memories;
    std::vector<std::string> arguments;
    const std::size_t numMemories = 1 + random() % 4;
    for (std::size_t number = 0; number < numMemories; ++number) {
      const Deep deep = memories.emplace_back(makeDeep(random, number, false));
      write(deep.name + ".mem", spellMem(deep));
      arguments.push_back(deep.name + "=" + deep.name + ".mem");
      arguments.push_back("--data-width");
      arguments.push_back(deep.name + "=" + std::to_string(deep.numEbrs * deep.bitsPerEbr));
    }
    std::string map;
    std::remove("m.toml");
    for (const bool isUpdate : {false, true}) {
      std::string stream;
      const auto wids = placeAll(random, memories, stream);
      write("in.bit", packDigits(stream));
      std::vector<const char*> argv = {"locate", "--id-bits=12", "--map", "m.toml", "in.bit"};
      for (const std::string& argument : arguments) argv.push_back(argument.c_str());
      if (isUpdate) argv.push_back("--update");
      const std::string said = inspect(argv);
      ASSERT_EQ(said.back(), '0') << i << said;
      ASSERT_EQ(brokenWids(wids), "") << i;
      ASSERT_TRUE(inspect({"list", "--map", "m.toml", "in.bit"}).back() == '0') << i;
      std::string found = contentsOf("m.toml");
      const std::size_t design = found.find("xxh3:");
      found.erase(design, 21);
      ASSERT_TRUE(!isUpdate || found == map) << found;
      map = found;
      for (const Deep& deep : memories) {
        const std::string words =
            inspect({"dump", "--words", "m.toml", "in.bit", deep.name.c_str()});
        ASSERT_EQ(words, spellMem(deep) + "0") << i;
      }
    }
  }
}

// ---- Cases ----

TEST(Locate, SaysWhatItFindsAndWhatNot) {
  outputOf([] {});  // makes the working folder
  std::string stream = digits(0xFF, 8);
  for (unsigned pair = 1; pair <= 5; ++pair) {
    for (unsigned low = 1; low <= 3; ++low) stream += ebrDigits(digits(pair * 4 + low, 8), 4, "0");
  }
  write("blank.bit", packDigits(stream));
  for (const auto& [command, said] : readCases("locate_cases.txt")) {
    EXPECT_EQ(runCommand(command), said) << command;
  }
}

}  // namespace
