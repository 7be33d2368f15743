// The tool as a user runs it: arguments, files, exact output, exit status.
#include <gtest/gtest.h>

#include <map>

#include "fixture.h"

namespace {

TEST(Run, PrintsWhatItDoes) {
  runTool(SMALLEST_RUN);  // leaves its files
  for (const auto& [command, said] : readCases("run_cases.txt")) {
    EXPECT_EQ(runCommand(command), said) << command;
  }
}

TEST(Run, WritesTwoEbrsAsTheDocumentsShow) {
  const std::string before(8, '\xFF'), frame(11, '\0');
  const std::string header2("\xF6\0\0\0\0\0\x30\0\xB2\xD0\0\1", 12);
  const std::string header1("\xF6\0\0\0\0\0\x28\0\xB2\xD0\0\1", 12);
  const RunFiles files = {before + header2 + frame + header1 + frame,
                          "0b000000101\n0b000000110\naw10;dw8\n", "A5\n3C\n0F\nF0\n"};
  EXPECT_EQ(runTool(files).bytes, before + header2 +
                                      std::string("\x62\xBC\0\0\0\0\0\0\0\xB2\x30", 11) + header1 +
                                      std::string("\x1D\3\xC0\0\0\0\0\0\0\7\xFD", 11));
  for (std::size_t size = 0; size < files.bit.size(); ++size) {
    EXPECT_EQ(compareRuns({files.bit.substr(0, size), files.wid, files.mem}), "") << size;
  }
}

// The plain run loads the files as the tool does; this table has the texts, and the files that draw
// them.
TEST(Run, SaysInOneLineWhatIsWrongWithAFileAndWhere) {
  const auto change = [](std::size_t at) {
    return std::string(SMALLEST_RUN.bit).replace(at, 1, 1, '\x80');
  };
  constexpr auto BIT = &RunFiles::bit, WID = &RunFiles::wid, MEM = &RunFiles::mem;
  const std::tuple<std::string RunFiles::*, std::string, std::string> rows[] = {
      // clang-format off
      {WID, "\n\n", "ERROR: empty wid file!"},
      {WID, "aw9;dw18\n", "ERROR: wid lengths must all be the same!\nram.wid: no wid stands before the last line"},
      {WID, "0\n1\naw9;dw8\n\r\n", "ERROR: wid lengths must all be the same!\n"
       "ram.wid, line 3: this wid's length differs from that of the first, 1"},
      {WID, "01\n\n#11\n0\naw9;dw8", "ERROR: wid lengths must all be the same!\n"
       "ram.wid, line 3: this wid's length differs from that of the first, 2"},
      {WID, "000000101\naw9 dw8", "ERROR: bad .wid file, no addr/data width\nram.wid, line 2: aw9 dw8"},
      {WID, "000000101\naw9;8", "ERROR: bad .wid file, no addr/data width\nram.wid, line 2: aw9;8"},
      {WID, "000000101\ndw8;aw9", "ERROR: bad .wid file, malformed addr/data width\nram.wid, line 2: dw8;aw9"},
      {WID, "000000101\ndw8;aw", "ERROR: bad .wid file, malformed addr/data width\nram.wid, line 2: dw8;aw"},
      {WID, "000000101\n;aw0dw8", "WARNING: words.mem: 2 memory words, but an address of 0 bits reaches only 1"},
      {WID, "0\n\r\x1B[2K\x7F STATUS: \xE2\x82\xAC\n", "ERROR: bad .wid file, no addr/data width\n"
       "ram.wid, line 2: \\x0D\\x1B[2K\\x7F STATUS: \\xE2\\x82"},
      {WID, "0\n\n1\nawX;dwY", "ERROR: ram.wid, line 4: a data width of 0 bits can't be shared out among 2 EBRs"},
      {WID, "0\n1\naw9;dw4294967297",
       "ERROR: ram.wid, line 3: a data width of 1 bits can't be shared out among 2 EBRs"},
      {WID, "0\naw9;dw010",
       "ERROR: words.mem, line 1: a memory word of 8 bits can't be split into groups of 10 bits"},
      {WID, "0101\naw9;dw8", "ERROR : didn't find EBR address section for wid 0101"},
      {WID, "10b1\naw9;dw8", "ERROR : didn't find EBR address section for wid b1"},
      {WID, "000000101\naw0;dw8", "WARNING: words.mem: 2 memory words, but an address of 0 bits reaches only 1"},
      {WID, "000000101\naw-1;dw8", "WARNING: words.mem: 2 memory words, but an address of -1 bits reaches only 0"},
      {MEM, "#\n12\n12G\n",
       "ERROR: character G is not hexadecimal!\nERROR: words.mem, line 3: not a hexadecimal word: 12G"},
      {MEM, std::string(60, 'A') + " ", "ERROR: character   is not hexadecimal!\nERROR: words.mem, line 1: "
       "not a hexadecimal word: " + std::string(60, 'A') + "..."},
      {MEM, std::string(59, '~'), "ERROR: character ~ is not hexadecimal!\nERROR: words.mem, line 1: "
       "not a hexadecimal word: " + std::string(59, '~')},
      {MEM, "#\n/\n\r\n", "WARNING: words.mem: holds no memory words: the listed EBRs are filled with zeros"},
      {MEM, "12\n1234", "STATUS: loading input files\n"
       "WARNING: words.mem: 3 memory words, but an address of 1 bits reaches only 2"},
      {WID, "\n000000101\n000000101\n\n000000101\naw9;dw24", "WARNING: ram.wid, line 3: lists the EBR of line 2 again: "
       "it gets the contents for the later line; in all, 2 lines list an EBR again\nWARNING: words.mem, line 1: 2 of 2 memory words have another number of "
       "bits than the EBRs share out (the first 8, the EBRs 24), which can spread words over the wrong EBRs"},
      {MEM, "#\n" + std::string(16002, 'A') + "\n12", "ERROR: words.mem, line 2: from here on a physical line has more "
       "than 65536 bits, in all 80017, which is no multiple of 8"},
      {MEM, std::string(13122, 'A'), "STATUS: Successfully wrote out.bit"},  // 65608 bits
      {BIT, SMALLEST_RUN.bit.substr(0, 5), "ERROR: ran off end of bit file looking for wid 000000101"},
      {BIT, SMALLEST_RUN.bit.substr(0, 9),
       "ERROR: bitstream ends inside the 11 bits behind the EBR identifier, at bit 61"},
      {BIT, change(9), "ERROR: didn't find TAV_EBR_WRITE"},
      {BIT, change(10), "ERROR: didn't find CRC/dummy bits after TAV_EBR_WRITE"},
      {BIT, SMALLEST_RUN.bit.substr(0, 13),
       "ERROR: bitstream ends inside the frame count of TAV_EBR_WRITE, at bit 88"},
      {BIT, change(11), "ERROR: bitstream ends inside the EBR data: frame count 32769, bits needed for payload "
       "and CRC 2359384, bits left 88 at bit 104"},
      {BIT, change(22), "WARNING: wid 000000101: the CRC of the old contents is 0x8000, should be 0xB117: "
       "the bitstream may be damaged, or the wid file may not fit it"},
      // clang-format on
  };
  for (const auto& [file, contents, lines] : rows) {
    RunFiles files = SMALLEST_RUN;
    files.*file = contents;
    EXPECT_EQ(compareRuns(files), "");
    const std::string text = runTool(files).text;
    EXPECT_NE(("\n" + text).find("\n" + lines + "\n"), std::string::npos) << lines << "\n" << text;
    EXPECT_EQ(text.back(), lines[0] == 'E' ? '1' : '0') << text;
  }
}

TEST(Run, WarnsOfEveryCommandThatContentsHide) {
  std::mt19937_64 random(1);
  std::map<std::string, int> counts = {{"reaches into it", 0},
                                       {"comes first", 0},
                                       {"is overwritten", 0},
                                       {"; ramgraft-load finds it", 0},
                                       {" a CRC that isn't right now", 0}};
  for (int i = 0; i < 3000; ++i) {
    const RunFiles files = spellingRun(random);
    ASSERT_EQ(compareRuns(files), "") << i;
    const std::string text = runTool(files).text;
    for (auto& [reason, count] : counts) count += text.find(reason) == std::string::npos ? 0 : 1;
  }
  for (const auto& [reason, count] : counts) EXPECT_GT(count, 30) << reason;
}

TEST(Run, FindsTheSectionsThatBeginInAWrittenCrc) {
  const std::string last = digits(1, 9), first = digits(2, 9), falseOne = digits(3, 9);
  const std::string stream = ebrDigits(first, 1, "1") + digits(0, 36) + falseOne +
                             ebrDigits(last, 1, "1") + ebrDigits(falseOne, 1, "1");
  const std::string wid = last + "\n" + first + "\n" + falseOne + "\naw9;dw24";
  for (int word = 100000; word < 142000; word += 21) {
    const std::string words = std::to_string(word) + "\n" + std::to_string(word * 7);
    ASSERT_EQ(compareRuns({packDigits(stream), wid, words}), "") << words;
  }
}

}  // namespace
