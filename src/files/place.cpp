#include "files/place.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <utility>

namespace {

// The number that the text consists of, spelled as the system spells it, or -1.
int toNumber(std::string_view text) {
  int number = -1;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return std::to_string(number) == text ? number : -1;
}

// Moves on to `path`, which is relative to the place's folder. 0 or the error number.
int moveTo(FilePlace& place, const std::string& path) {
  const std::size_t nameBegin = path.rfind('/') + 1;
  const std::string folder = nameBegin == 0 ? "." : path.substr(0, nameBegin);
  FileDescriptor opened(
      ::openat(place.folder.get(), folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!opened.isOpen()) return errno;
  place = {std::move(opened), path.substr(nameBegin)};
  return 0;
}

// True if the system itself would not follow the link (fs.protected_symlinks): somebody else has
// put it into a folder in which everybody may create files.
bool isForeignLink(const struct stat& link, const struct stat& folder) {
  constexpr mode_t OPEN_TO_ALL = S_ISVTX | S_IWOTH;
  return (folder.st_mode & OPEN_TO_ALL) == OPEN_TO_ALL && link.st_uid != folder.st_uid &&
         link.st_uid != ::geteuid();
}

}  // namespace

DescriptorName parseDescriptorName(std::string_view path) {
  constexpr std::string_view PROCESSES = "/proc/";
  constexpr std::string_view DESCRIPTORS = "/fd/";
  if (path == "/dev/stdout") return {::getpid(), STDOUT_FILENO};
  if (path == "/dev/stderr") return {::getpid(), STDERR_FILENO};
  for (const std::string_view folder : {"/dev/fd/", "/proc/self/fd/", "/proc/thread-self/fd/"}) {
    if (path.starts_with(folder)) return {::getpid(), toNumber(path.substr(folder.size()))};
  }
  const std::size_t end = path.find(DESCRIPTORS, PROCESSES.size());
  if (!path.starts_with(PROCESSES) || end == path.npos) return {};
  return {toNumber(path.substr(PROCESSES.size(), end - PROCESSES.size())),
          toNumber(path.substr(end + DESCRIPTORS.size()))};
}

int findPlace(const std::string& fileName, const FileIdentity& old, FilePlace& place) {
  constexpr int MOST_LINKS = 40;  // as many as the system itself follows
  constexpr FileIdentity NOTHING;
  std::string path = fileName;
  for (int links = 0; links <= MOST_LINKS; ++links) {
    if (const int error = moveTo(place, path); error != 0) return error;
    const FileDescriptor file(
        ::openat(place.folder.get(), place.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    struct stat folder {};
    if (file.isOpen() ? ::fstat(file.get(), &status) != 0 : errno != ENOENT) return errno;
    if (!S_ISLNK(status.st_mode)) {
      return links == 0 || old == NOTHING || old == identityOf(status) ? 0 : ESTALE;
    }
    // The kernel's own rule for protected links, applied here because the kernel hasn't seen this
    // link: there was nothing when it opened the name.
    if (::fstat(place.folder.get(), &folder) != 0) return errno;
    if (old == NOTHING && isForeignLink(status, folder)) return EACCES;
    std::array<char, PATH_MAX> target;
    const ssize_t length = ::readlinkat(file.get(), "", target.data(), target.size());
    if (length < 0) return errno;
    path.assign(target.data(), static_cast<std::size_t>(length));
  }
  return ELOOP;
}
