#include "explain.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <memory>

#include "text/text.h"

namespace {

struct FileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

constexpr int kLineSize = 1024;  // as the reader reads
constexpr const char* kByteOrderMark = "\xEF\xBB\xBF";

// Only a regular file is read twice: a pipe or a device would lose what the job reads.
FilePtr openRegular(const std::string& path) {
  struct stat st {};
  if (stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return nullptr;
  return FilePtr(std::fopen(path.c_str(), "r"));
}

std::string trimmed(const char* text) {
  std::string s(text);
  trimSpaces(s.data());
  s.resize(std::char_traits<char>::length(s.c_str()));
  return s;
}

bool isHeader(const std::string& text) {
  static constexpr const char* kHeaders[] = {"[Global]", "[ZELP]", "[ZELP_Raw]", "[KELM]",
                                             "[Image]"};
  return std::any_of(std::begin(kHeaders), std::end(kHeaders),
                     [&](const char* h) { return text == h; });
}

// The text before a comment's '#', trimmed.
std::string beforeComment(const std::string& text) {
  return trimmed(text.substr(0, text.find('#')).c_str());
}

// Line `number` as the reader counts lines (a CR ends one too).
bool lineOf(const std::string& path, int number, std::string* line) {
  FilePtr file = openRegular(path);
  if (!file) return false;
  char buf[kLineSize];
  for (int n = 1; sReadLine(buf, kLineSize, file.get()) != nullptr; ++n) {
    if (n == number) {
      *line = buf;
      return true;
    }
  }
  return false;
}

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

bool sameFolder(const std::string& a, const std::string& b) {
  struct stat x {
  }, y{};
  return stat(a.c_str(), &x) == 0 && stat(b.c_str(), &y) == 0 && x.st_dev == y.st_dev &&
         x.st_ino == y.st_ino;
}

std::string linesAreNotRead(int first, int last) {
  return first == last
             ? "line " + std::to_string(first) + " is not read"
             : "lines " + std::to_string(first) + " to " + std::to_string(last) + " are not read";
}

}  // namespace

std::optional<diag::JobError> cli::unreadLead(const std::string& job,
                                              const std::string& defaultOut) {
  FilePtr file = openRegular(job);
  if (!file) return std::nullopt;
  char buf[kLineSize];
  bool inComment = false;
  int first = 0, last = 0, header = 0, outFilePath = 0;
  std::string cause, headerText;
  for (int n = 1; sReadLine(buf, kLineSize, file.get()) != nullptr; ++n) {
    std::string text = trimmed(buf);
    const bool marked = n == 1 && text.rfind(kByteOrderMark, 0) == 0;
    if (marked) text = trimmed(text.c_str() + 3);
    if (inComment) {
      inComment = text.rfind("*/", 0) != 0;
      continue;
    }
    if (text.empty() || text[0] == '#') continue;
    if (!marked && text.rfind("/*", 0) == 0) {
      inComment = true;
      continue;
    }
    const std::string cut = beforeComment(text);
    // The reader cuts at '#' but does not trim after it: "[Global]#" is a header.
    if (!marked && isHeader(text.substr(0, text.find('#')))) {
      header = n;
      headerText = cut;
      break;
    }
    if (first == 0) {
      first = n;
      if (marked) {
        cause = "the file starts with a UTF-8 byte-order mark";
        if (isHeader(cut)) cause += ", which makes \"" + cut + "\" no section header";
      } else if (isHeader(cut)) {
        cause = "a comment after \"" + cut + "\" makes it no section header";
      } else {
        cause = "text before the first section header";
      }
    }
    last = n;
    if (trimmed(cut.substr(0, cut.find('=')).c_str()) == "OutFilePath") outFilePath = n;
  }
  if (first == 0) return std::nullopt;
  // An OutFilePath read later still names the print file.
  while (outFilePath != 0 && sReadLine(buf, kLineSize, file.get()) != nullptr) {
    const std::string cut = beforeComment(trimmed(buf));
    if (trimmed(cut.substr(0, cut.find('=')).c_str()) == "OutFilePath") outFilePath = 0;
  }
  std::string reason = cause + ": " + linesAreNotRead(first, last);
  reason += header != 0 ? " (up to " + headerText + " on line " + std::to_string(header) + ")"
                        : " (no section header follows)";
  if (outFilePath != 0)
    reason += ", so the print file goes to " + defaultOut + ", not to the OutFilePath of line " +
              std::to_string(outFilePath);
  return diag::JobError{job, first, {}, {}, {}, reason};
}

diag::JobError cli::explained(diag::JobError e) {
  std::string raw;
  if (e.line > 0 && lineOf(e.file, e.line, &raw)) {
    const std::string text = trimmed(raw.c_str());
    const std::size_t hash = text.find('#');
    if (text.empty()) {
      e.key.clear();
      e.reason = "a line of blanks is read as a key with no name: " + e.reason +
                 "; leave blank lines empty";
      return e;
    }
    if (hash != std::string::npos && hash > 0 && isHeader(beforeComment(text))) {
      e.key = text;
      e.reason =
          "a comment after a section header makes the line a key, not a header: " + e.reason +
          "; put the comment on a line of its own";
      return e;
    }
    if (hash != std::string::npos &&
        std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(hash), '"') % 2 == 1) {
      e.reason += " (# starts a comment, even inside double quotes)";
      return e;
    }
  }
  if (e.section == "ZELP" && e.reason == "unknown key" && access("zelpgencmd.inf", F_OK) == 0) {
    e.reason += "; zelpgencmd.inf defines no command of that name either";
  } else if (e.section == "ZELP" && e.reason == "unknown key") {
    char cwd[PATH_MAX];
    const std::string here = getcwd(cwd, sizeof cwd) != nullptr ? cwd : ".";
    e.reason +=
        "; commands are defined in zelpgencmd.inf, and the current folder, " + here + ", has none";
    const std::string jobFolder = folderOf(e.file);
    if (!sameFolder(jobFolder, here) && access((jobFolder + "/zelpgencmd.inf").c_str(), F_OK) == 0)
      e.reason += " (the one in " + jobFolder + " is not read: only the current folder's is)";
  }
  return e;
}
