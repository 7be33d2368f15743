// libelf translates headers and symbols to this machine's form. It passes over what is cut off or
// has a wrong size, where a load must fail, so each offset, count and size is checked here, before
// libelf or anything else follows it.
#include "firmware/elffile.h"

#include <gelf.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <tuple>
#include <utility>

#include "reports/position.h"

namespace {

// Each section is held against each segment. Executables have a dozen segments; the limit keeps a
// file with a million of both from taking hours.
constexpr std::size_t MOST_SEGMENTS = 500;
constexpr std::size_t MOST_SYMBOL_NAME = 4096;
constexpr std::size_t MOST_SECTION_NAME = 100;

// True if `size` bytes at `offset` are within `limit` bytes.
constexpr bool isWithin(std::uint64_t offset, std::uint64_t size, std::uint64_t limit) {
  return offset <= limit && size <= limit - offset;
}

struct Segment {
  GElf_Phdr header;
  std::size_t number;  ///< among all program headers, from 0
};

struct Section {
  GElf_Shdr header;
  const Segment* segment;  ///< the first that contains it, or null
};

// From virtual to load addresses, modulo 2^64.
std::uint64_t shiftOf(const Segment& segment) {
  return segment.header.p_paddr - segment.header.p_vaddr;
}

bool isAllocated(const GElf_Shdr& section) {
  return (section.sh_flags & SHF_ALLOC) != 0 && section.sh_type != SHT_NULL;
}

bool hasFileBytes(const GElf_Shdr& section) {
  return section.sh_type != SHT_NULL && section.sh_type != SHT_NOBITS && section.sh_size != 0;
}

// True if the segment has the section in its part of memory and, where the section has bytes in the
// file, in the corresponding place of its part of the file. Addresses alone wouldn't do: overlays
// share them.
bool contains(const GElf_Phdr& segment, const GElf_Shdr& section) {
  const std::uint64_t offset = section.sh_addr - segment.p_vaddr;
  if (!hasFileBytes(section)) return isWithin(offset, section.sh_size, segment.p_memsz);
  return offset == section.sh_offset - segment.p_offset &&
         isWithin(offset, section.sh_size, segment.p_filesz);
}

class ElfReader {
 public:
  ElfReader(const std::string& file, std::span<const unsigned char> fileBytes,
            FirmwareFacts& factsOfFile, PieceVisitor toVisit)
      : fileName(file), bytes(fileBytes), facts(factsOfFile), visit(std::move(toVisit)) {}

  std::string read() {
    if (std::string wrong = readHeaders(); !wrong.empty()) return wrong;
    return readPieces();
  }

  std::string readSymbols(std::vector<Symbol>& symbols) {
    if (std::string wrong = readHeaders(); !wrong.empty()) return wrong;
    return addSymbols(symbols);
  }

 private:
  std::string fault(const std::string& what) const { return positionText(fileName) + what; }

  std::string readHeaders() {
    if (std::string wrong = readFileHeader(); !wrong.empty()) return wrong;
    if (std::string wrong = readTableSizes(); !wrong.empty()) return wrong;
    if (std::string wrong = readSegments(); !wrong.empty()) return wrong;
    return readSections();
  }

  std::string readFileHeader() {
    elf_version(EV_CURRENT);
    // libelf asks for bytes that it may write, but does so only in files opened for writing.
    auto* const data = const_cast<char*>(reinterpret_cast<const char*>(bytes.data()));
    elf.reset(bytes.empty() ? nullptr : elf_memory(data, bytes.size()));
    if (gelf_getehdr(elf.get(), &header) == nullptr) {
      return fault("not an ELF file, or its header is damaged");
    }
    if (gelf_getclass(elf.get()) == ELFCLASS32) lastAddress = UINT32_MAX;
    const bool isLittle = header.e_ident[EI_DATA] == ELFDATA2LSB;
    facts.byteOrder = isLittle ? std::endian::little : std::endian::big;
    return checkKind();
  }

  std::string checkKind() const {
    if (header.e_type == ET_EXEC || header.e_type == ET_DYN) return {};
    if (header.e_type == ET_REL)
      return fault("a relocatable object, which a linker must link first");
    if (header.e_type == ET_CORE) return fault("a core dump, not an executable");
    return fault("ELF type " + std::to_string(header.e_type) + " is not an executable");
  }

  // Counts that are too large for the file header are in the first section header.
  std::string readTableSizes() {
    if (header.e_shoff == 0) header.e_shnum = 0;
    numSections = header.e_shnum;
    numSegments = header.e_phnum;
    if (header.e_shoff != 0 && (numSections == 0 || numSegments == PN_XNUM)) {
      if (std::string wrong = checkSectionTable(1); !wrong.empty()) return wrong;
      readFirstSection();
    }
    if (std::string wrong = checkSectionTable(numSections); !wrong.empty()) return wrong;
    return checkTable("program headers", header.e_phoff, numSegments, header.e_phentsize,
                      ELF_T_PHDR);
  }

  void readFirstSection() {
    const Elf_Data* const data = rawData(header.e_shoff, entryBytes(ELF_T_SHDR), ELF_T_SHDR);
    if (data == nullptr) return;  // GCOVR_EXCL_LINE: no memory left
    const auto* const wide = static_cast<const Elf64_Shdr*>(data->d_buf);
    const auto* const narrow = static_cast<const Elf32_Shdr*>(data->d_buf);
    const bool isNarrow = gelf_getclass(elf.get()) == ELFCLASS32;
    if (numSections == 0) numSections = isNarrow ? narrow->sh_size : wide->sh_size;
    if (numSegments == PN_XNUM) numSegments = isNarrow ? narrow->sh_info : wide->sh_info;
  }

  std::string checkSectionTable(std::uint64_t count) const {
    return checkTable("section headers", header.e_shoff, count, header.e_shentsize, ELF_T_SHDR);
  }

  std::string checkTable(const std::string& what, std::uint64_t offset, std::uint64_t count,
                         std::uint64_t foundBytes, Elf_Type type) const {
    if (count == 0) return {};
    const std::uint64_t wantedBytes = entryBytes(type);
    if (foundBytes != wantedBytes) {
      return fault(what + " of " + std::to_string(foundBytes) + " bytes each, should be " +
                   std::to_string(wantedBytes));
    }
    if (count <= INT_MAX && isWithin(offset, count * wantedBytes, bytes.size())) return {};
    return fault("cut off: the " + what + " reach past the file's end");
  }

  // Size in the file of one entry of a table.
  std::uint64_t entryBytes(Elf_Type type) const {
    return gelf_fsize(elf.get(), type, 1, EV_CURRENT);
  }

  Elf_Data* rawData(std::uint64_t offset, std::uint64_t size, Elf_Type type) const {
    return elf_getdata_rawchunk(elf.get(), static_cast<std::int64_t>(offset), size, type);
  }

  std::string readSegments() {
    for (std::size_t i = 0; i < numSegments; ++i) {
      Segment segment = {{}, i};
      if (gelf_getphdr(elf.get(), static_cast<int>(i), &segment.header) == nullptr) {
        return fault("the program headers can't be read");  // GCOVR_EXCL_LINE: no memory left
      }
      if (segment.header.p_type == PT_LOAD) segments.push_back(segment);
      if (segments.size() > MOST_SEGMENTS) {
        return fault("more than " + std::to_string(MOST_SEGMENTS) + " segments");
      }
    }
    choosePhysicalAddresses();
    return {};
  }

  // Some linkers leave the physical addresses out.
  void choosePhysicalAddresses() {
    const auto hasPhysical = [](const Segment& segment) { return segment.header.p_paddr != 0; };
    const auto hasVirtual = [](const Segment& segment) { return segment.header.p_vaddr != 0; };
    if (std::any_of(segments.begin(), segments.end(), hasPhysical)) return;
    if (std::none_of(segments.begin(), segments.end(), hasVirtual)) return;
    for (Segment& segment : segments) segment.header.p_paddr = segment.header.p_vaddr;
    facts.notes.push_back(fault("all physical addresses are 0, so the virtual ones count"));
  }

  std::string readSections() {
    sections.reserve(numSections);
    for (std::size_t i = 0; i < numSections; ++i) {
      Section section = {{}, nullptr};
      if (gelf_getshdr(elf_getscn(elf.get(), i), &section.header) == nullptr) {
        return fault("the section headers can't be read");  // GCOVR_EXCL_LINE: no memory left
      }
      if (isAllocated(section.header)) section.segment = segmentAfter(nullptr, section.header);
      sections.push_back(section);
    }
    return {};
  }

  // The first segment, after `last` unless that is null, that contains the section; else null.
  const Segment* segmentAfter(const Segment* last, const GElf_Shdr& section) const {
    const Segment* const end = segments.data() + segments.size();
    const Segment* const found =
        std::find_if(last == nullptr ? segments.data() : last + 1, end,
                     [&](const Segment& segment) { return contains(segment.header, section); });
    return found == end ? nullptr : found;
  }

  // A section's bytes go where its segment's do. What surrounds them in the segment doesn't: a
  // first segment often begins with the ELF header itself, and nobody wants that at the reset
  // vector.
  std::string readPieces() {
    for (const Segment& segment : segments) {
      if (isWithin(segment.header.p_offset, segment.header.p_filesz, bytes.size())) continue;
      return fault("cut off: " + nameOf(segment) + " reaches past the file's end");
    }
    if (std::string wrong = sections.empty() ? addSegments() : addSections(); !wrong.empty()) {
      return wrong;
    }
    return loadedBytes == 0 ? fault("no bytes to load") : "";
  }

  std::string addSegments() {
    if (segments.empty()) return {};
    facts.notes.push_back(fault("no sections, so all bytes of the segments count"));
    for (const Segment& segment : segments) {
      const GElf_Phdr& load = segment.header;
      std::string wrong = addPiece(nameOf(segment), load.p_paddr, 0, load.p_offset, load.p_filesz);
      if (!wrong.empty()) return wrong;
    }
    return {};
  }

  std::string addSections() {
    for (std::size_t i = 0; i < sections.size(); ++i) {
      const GElf_Shdr& section = sections[i].header;
      if (!hasFileBytes(section)) continue;
      if (!isWithin(section.sh_offset, section.sh_size, bytes.size())) {
        return fault("cut off: " + sectionName(i) + " reaches past the file's end");
      }
      if (!isAllocated(section)) continue;
      if (std::string wrong = addSection(i); !wrong.empty()) return wrong;
    }
    noteStrays();
    return {};
  }

  // No loader would load a section that is in no segment, but whoever added it to a finished
  // executable gave it an address and means it to be there. If it were left out, it would be missed
  // on the device. If it isn't wanted, bytes outside all memories may come of it, which are an
  // error.
  void noteStrays() {
    if (numStrays == 0) return;
    const std::string others =
        numStrays == 1 ? " is" : " and " + std::to_string(numStrays - 1) + " more are";
    facts.notes.push_back(
        fault(firstStray + others + " in no segment, so the sections' own addresses count"));
  }

  std::string addSection(std::size_t index) {
    const auto& [section, segment] = sections[index];
    const std::string name = sectionName(index);
    if ((section.sh_flags & SHF_COMPRESSED) != 0) return fault(name + " is compressed");
    if (segment == nullptr) {
      if (numStrays++ == 0) firstStray = name;
      return addPiece(name, section.sh_addr, 0, section.sh_offset, section.sh_size);
    }
    const std::uint64_t offset = section.sh_addr - segment->header.p_vaddr;
    for (const Segment* other = segmentAfter(segment, section); other != nullptr;
         other = segmentAfter(other, section)) {
      if (shiftOf(*other) == shiftOf(*segment)) continue;
      return fault(name + " is in " + nameOf(*segment) + " and " + nameOf(*other) +
                   ", which have different load addresses");
    }
    return addPiece(name, segment->header.p_paddr, offset, section.sh_offset, section.sh_size);
  }

  // The piece begins `addressOffset` bytes after `base`; both ends of it must be addresses.
  std::string addPiece(const std::string& name, std::uint64_t base, std::uint64_t addressOffset,
                       std::uint64_t fileOffset, std::uint64_t size) {
    if (size == 0) return {};
    if (base > lastAddress || addressOffset + (size - 1) > lastAddress - base) {
      return fault(name + " reaches past the last address");
    }
    // A small file could claim terabytes by parts that share bytes. Linkers make no such thing.
    loadedBytes += size;  // no overflow: neither is longer than the file
    if (loadedBytes > bytes.size())
      return fault(name + " shares its bytes of the file with others");
    return visit({base + addressOffset, bytes.subspan(fileOffset, size), name, 0, 0});
  }

  std::string nameOf(const Segment& segment) const {
    return "segment " + std::to_string(segment.number);
  }

  std::string sectionName(std::size_t index) const {
    std::size_t table = 0;  // stays so if there are no names, and the first section has no bytes
    static_cast<void>(elf_getshdrstrndx(elf.get(), &table));
    const std::string_view name = nameAt(table, sections[index].header.sh_name);
    if (name.empty()) return "section " + std::to_string(index);
    return std::string(name.substr(0, MOST_SECTION_NAME));
  }

  // The name at `offset` in the section of names with this index; empty if there is none, it
  // doesn't end, or is too long. Whatever reads names would else take long for a file full of them
  // that share their bytes.
  std::string_view nameAt(std::size_t table, std::uint64_t offset) const {
    if (table >= sections.size()) return {};
    const GElf_Shdr& names = sections[table].header;
    if (!hasFileBytes(names) || !isWithin(names.sh_offset, names.sh_size, bytes.size())) return {};
    if (offset >= names.sh_size) return {};
    const auto* const begin =
        reinterpret_cast<const char*>(bytes.data() + names.sh_offset + offset);
    const std::size_t most = std::min<std::size_t>(names.sh_size - offset, MOST_SYMBOL_NAME + 1);
    const void* const end = std::memchr(begin, 0, most);
    if (end == nullptr) return {};
    return {begin, static_cast<std::size_t>(static_cast<const char*>(end) - begin)};
  }

  // ELF allows one table of symbols.
  std::string addSymbols(std::vector<Symbol>& to) {
    haveBytes = std::ranges::any_of(sections, [](const Section& section) {
      return isAllocated(section.header) && hasFileBytes(section.header);
    });
    const auto table = std::find_if(sections.begin(), sections.end(), [](const Section& section) {
      return section.header.sh_type == SHT_SYMTAB;
    });
    if (table == sections.end()) return {};
    const GElf_Shdr& symbols = table->header;
    const std::uint64_t count = symbols.sh_size / entryBytes(ELF_T_SYM);
    std::string wrong =
        checkTable("symbols", symbols.sh_offset, count, symbols.sh_entsize, ELF_T_SYM);
    if (!wrong.empty() || count == 0) return wrong;
    Elf_Data* const data = rawData(symbols.sh_offset, count * symbols.sh_entsize, ELF_T_SYM);
    if (data == nullptr) return fault("the symbols can't be read");  // GCOVR_EXCL_LINE: no memory
    GElf_Sym symbol;
    for (int i = 0; gelf_getsym(data, i, &symbol) != nullptr; ++i) {
      addSymbol(symbol, symbols.sh_link, to);
    }
    std::sort(to.begin(), to.end(), [](const Symbol& a, const Symbol& b) {
      return std::tie(a.name, a.address) < std::tie(b.name, b.address);
    });
    return {};
  }

  void addSymbol(const GElf_Sym& symbol, std::size_t names, std::vector<Symbol>& to) const {
    const unsigned type = GELF_ST_TYPE(symbol.st_info);
    if (type != STT_NOTYPE && type != STT_OBJECT && type != STT_FUNC) return;
    const std::string_view name = nameAt(names, symbol.st_name);
    if (name.empty()) return;
    std::uint64_t address = symbol.st_value;
    // Here the lowest bit of a function's address says which instruction set the function is in.
    if (header.e_machine == EM_ARM && type == STT_FUNC) address &= ~UINT64_C(1);
    if (symbol.st_shndx == SHN_ABS) {
      to.push_back({name, address, true});
    } else if (symbol.st_shndx < std::min<std::size_t>(sections.size(), SHN_LORESERVE) &&
               isAllocated(sections[symbol.st_shndx].header)) {
      to.push_back({name, loadAddress(sections[symbol.st_shndx], address), false});
    }
  }

  // Nothing of a section without bytes is loaded, so its variables are where the program sees them:
  // at the load address there would be something else. In a file of symbols alone, all sections are
  // without bytes.
  std::uint64_t loadAddress(const Section& section, std::uint64_t address) const {
    const bool isLoaded = section.header.sh_type != SHT_NOBITS || !haveBytes;
    if (section.segment == nullptr || !isLoaded) return address;
    return (address + shiftOf(*section.segment)) & lastAddress;
  }

  const std::string& fileName;
  std::span<const unsigned char> bytes;
  FirmwareFacts& facts;
  PieceVisitor visit;
  std::unique_ptr<Elf, decltype(&elf_end)> elf = {nullptr, &elf_end};
  GElf_Ehdr header = {};
  bool haveBytes = false;  // some of the sections that are part of the program
  std::uint64_t lastAddress = UINT64_MAX;
  std::uint64_t numSections = 0, numSegments = 0;
  std::vector<Segment> segments;  ///< PT_LOAD only; physical addresses are those to load to
  std::vector<Section> sections;
  std::uint64_t loadedBytes = 0;  ///< of all pieces
  std::uint64_t numStrays = 0;    ///< sections with bytes to load, but in no segment
  std::string firstStray;
};

}  // namespace

std::string readElf(const std::string& fileName, std::span<const unsigned char> bytes,
                    FirmwareFacts& facts, const PieceVisitor& visit) {
  return ElfReader(fileName, bytes, facts, visit).read();
}

std::string readElfSymbols(const std::string& fileName, std::span<const unsigned char> bytes,
                           std::vector<Symbol>& symbols) {
  FirmwareFacts facts;
  return ElfReader(fileName, bytes, facts, nullptr).readSymbols(symbols);
}
