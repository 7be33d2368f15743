// The real binary as a user runs it: arguments, files, exact output, exit status.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>

#include "fixture.h"

namespace {

// Runs the binary with the arguments; its standard output, and its exit status as the last line.
std::string run(const std::string& arguments) {
  const std::string command = std::string("'") + RAMGRAFT_BINARY + "' " + arguments;
  std::FILE* pipe = ::popen(command.c_str(), "r");
  std::string out;
  for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) out += static_cast<char>(c);
  return out + std::to_string(WEXITSTATUS(::pclose(pipe)));
}

const RunFiles SMALLEST = {packDigits(digits(0xFF, 8) + ebrDigits("000000101", 1, "0")),
                           "0b000000101\naw10;dw8\n", "5C\nF0\n"};

TEST(Run, ReplacesContentsAndCrc) {
  const RunResult result = runTool(SMALLEST);  // leaves the files for the binary
  const std::string bytes("\xFF\xF6\0\0\0\0\0\x28\0\xB2\xD0\0\1\x1D\3\xC0\0\0\0\0\0\0\7\xFD", 24);
  EXPECT_EQ(result.bytes, bytes);
  EXPECT_EQ(result.err, "");
  const std::string out =
      "STATUS: loading input files\nSTATUS: input files loaded successfully\n"
      "STATUS: processing bitstream\n"
      "STATUS: Replacing contents of EBR ID# 000000101 (1/1)\n"
      "STATUS: Successfully wrote out.bit\n0";
  EXPECT_EQ(run("in.bit ram.wid words.mem out.bit 2>&1"), out);
}

TEST(Run, ChecksItsArguments) {
  const std::string usage =
      "Usage: ramgraft <input_file.bit> <file.wid> <file.mem> <output_file.bit>\n1";
  for (const char* arguments : {"", "TEST TEST TEST", "a b c d e"}) {
    EXPECT_EQ(run(arguments), usage) << arguments;
  }
  const std::string loading = "STATUS: loading input files\nERROR: Can't open file ";
  EXPECT_EQ(run("TEST TEST x.mem out.bit"), loading + "TEST\n1");
  EXPECT_EQ(run("TEST test TEST out.bit"), loading + "test\n1");
  EXPECT_EQ(run("TEST TEST TEST x"),
            "test_findBits()\ntest_expectBits()\ntest_checkBitsValue()\ntest_intToBinaryString()\n"
            "test_binaryStringToInt()\ntest_findEbrAddressSection()\ntest_findEbrDataSection()\n"
            "test_hexStringToBytes()\nERROR: character Z is not hexadecimal!\ntest_bytesToBits()\n"
            "test_transformLogInitToPhy()\ntest_binaryStringToHex()\n"
            "TEST RESULT: Unit tests pass!\n0");
}

TEST(Run, LooksAtItsFilesInOrder) {
  runTool(SMALLEST);
  const std::tuple<const char*, const char*> rows[] = {
      {"no.bit no.wid no.mem", "ERROR: Can't open file no.wid\n1"},
      {"no.bit ram.wid no.mem", "ERROR: Can't open file no.mem\n1"},
      {"no.bit ram.wid words.mem", "ERROR: can't open file no.bit\n1"},
      {". ram.wid words.mem", "ERROR: can't read file .: Is a directory\n1"},
  };
  for (const auto& [names, line] : rows) {
    EXPECT_EQ(
        run(std::string(names) + " no-output.bit; s=$?; ls no-output.bit 2>/dev/null; exit $s"),
        std::string("STATUS: loading input files\n") + line);
  }
}

// The plain run says the same; here the texts stand, and what it is that they refuse.
TEST(Run, RefusesBadFilesWithOneLineThatSaysWhere) {
  const std::string word8002(16004, 'A');
  struct Row {
    const char* field;
    std::string contents;
    const char* line;
  };
  const Row rows[] = {
      {"wid", "\n\n", "ERROR: empty wid file!"},
      {"wid", "aw9;dw18\n", "ERROR: wid lengths must all be the same!"},
      {"wid", "01\n011\naw9;dw8", "ERROR: wid lengths must all be the same!"},
      {"wid", "0\n1\naw9;dw8\n\r\n", "ERROR: wid lengths must all be the same!"},
      {"wid", "000000101\naw9 dw8", "ERROR: bad .wid file, no addr/data width"},
      {"wid", "000000101\ndw8;aw9", "ERROR: bad .wid file, malformed addr/data width"},
      {"wid", "0\n\n1\nawX;dwY",
       "ERROR: ram.wid, line 4: a data width of 0 bits can't be shared out among 2 EBRs"},
      {"wid", "0\naw9;dw4294967297\r\n1\naw9;dw4294967297",
       "ERROR: wid lengths must all be the same!"},
      {"wid", "0101\naw9;dw8", "ERROR : didn't find EBR address section for wid 0101"},
      {"mem", "#\n12\n12G\n", "ERROR: words.mem, line 3: not a hexadecimal word: 12G"},
      {"mem", word8002,
       "ERROR: words.mem, line 1: from here on an EBR gets more than the 65536 bits of its "
       "physical line, in all 80017, which is no multiple of 8"},
      {"bit", SMALLEST.bit.substr(0, 8),
       "ERROR: bitstream ends inside the 11 bits behind the EBR identifier, at bit 61"},
      {"bit", SMALLEST.bit.substr(0, 5),
       "ERROR: ran off end of bit file looking for wid 000000101"},
  };
  for (const Row& row : rows) {
    RunFiles files = SMALLEST;
    (row.field[0] == 'w' ? files.wid : row.field[0] == 'm' ? files.mem : files.bit) = row.contents;
    EXPECT_EQ(compareRuns(files), "");
    const RunResult result = runTool(files);
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find(std::string("\n") + row.line + "\n"), std::string::npos)
        << row.line << "\n"
        << result.out;
  }
}

TEST(Run, TakesAStreamCutAtEveryByte) {
  for (std::size_t size = 0; size <= SMALLEST.bit.size(); ++size) {
    RunFiles files = SMALLEST;
    files.bit.resize(size);
    EXPECT_EQ(compareRuns(files), "") << size;
  }
}

}  // namespace
