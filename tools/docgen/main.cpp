// docgen: writes the key and symbol tables of docs/configuration.md from the reader's own
// tables, so that the document cannot fall behind the code.
//
//   docgen --write DOC.md NOTES.tsv   rewrites every generated block of DOC.md
//   docgen --check DOC.md NOTES.tsv   exits 1 when a block differs from what would be written
//
// A block runs from a line "<!-- generated:NAME -->" to the line "<!-- end:NAME -->".
// NOTES.tsv holds what the code cannot tell: per key its values, default, whether it is
// required and what it produces (tab-separated: section, key, values, default, required,
// produces). A key without a note, or a note without a key, is an error.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "cmdfile/cmdfile_info.h"
#include "config/key_catalogue.h"
#include "config/values.h"

namespace {

struct Note {
  std::string values, byDefault, required, produces;
};
using Notes = std::map<std::pair<std::string, std::string>, Note>;

const char* kindText(ValueKind kind) {
  switch (kind) {
    case ValueKind::kText:
      return "quoted text";
    case ValueKind::kInteger:
      return "integer";
    case ValueKind::kSignedInteger:
      return "signed integer";
    case ValueKind::kIntegerOrSymbol:
      return "integer or symbol";
    case ValueKind::kQuotedSymbol:
      return "quoted symbol";
    case ValueKind::kMediumTypeEx:
      return "integer or extension word";
    case ValueKind::kJobTime:
      return "number, symbol or quoted date";
    case ValueKind::kUUID:
      return "UUID, unquoted";
    case ValueKind::kPosition:
      return "decimal, optional sign";
    case ValueKind::kIndexLevel:
      return "level count";
    case ValueKind::kPacketType:
      return "packet type symbol";
    case ValueKind::kPacketData:
      return "data bytes";
  }
  return "?";
}

const char* useText(KeyUse use) {
  return use == KeyUse::kStored ? "stored" : use == KeyUse::kIgnored ? "ignored" : "refused";
}

std::vector<std::string> splitTabs(const std::string& line) {
  std::vector<std::string> cells;
  std::string cell;
  std::istringstream in(line);
  while (std::getline(in, cell, '\t')) cells.push_back(cell);
  return cells;
}

bool readNotes(const char* path, Notes& notes) {
  std::ifstream in(path);
  if (!in) {
    std::fprintf(stderr, "docgen: cannot read %s\n", path);
    return false;
  }
  std::string line;
  int number = 0;
  while (std::getline(in, line)) {
    ++number;
    if (line.empty() || line[0] == '#') continue;
    std::vector<std::string> c = splitTabs(line);
    if (c.size() != 6) {
      std::fprintf(stderr, "docgen: %s:%d: expected 6 tab-separated cells, found %zu\n", path,
                   number, c.size());
      return false;
    }
    notes[{c[0], c[1]}] = {c[2], c[3], c[4], c[5]};
  }
  return true;
}

// One Markdown table per section, keys in the reader's order.
bool keyTable(const char* section, const std::vector<KeyInfo>& keys, Notes& notes,
              std::string& out) {
  const bool sets = std::strcmp(section, "[ZELP]") == 0;
  out += sets
             ? "| Key | Value | Set 1 | Set 2 | Default | Produces |\n| --- | --- | --- | --- | "
               "--- | --- |\n"
             : "| Key | Value | Default | Required | Produces |\n| --- | --- | --- | --- | --- |\n";
  bool ok = true;
  for (const KeyInfo& k : keys) {
    if (std::strcmp(k.section, section) != 0) continue;
    auto it = notes.find({k.section, k.name});
    if (it == notes.end()) {
      std::fprintf(stderr, "docgen: no note for %s %s\n", k.section, k.name);
      ok = false;
      continue;
    }
    const Note& n = it->second;
    std::string value = kindText(k.kind);
    if (!n.values.empty()) value += ": " + n.values;
    out += "| `" + std::string(k.name) + "` | " + value + " | ";
    if (sets)
      out += std::string(useText(k.set1)) + " | " + useText(k.set2) + " | " + n.byDefault + " | ";
    else
      out += n.byDefault + " | " + n.required + " | ";
    out += n.produces + " |\n";
    notes.erase(it);
  }
  return ok;
}

std::string symbolTable() {
  std::string out = "| Symbol | Value |\n| --- | --- |\n";
  std::set<std::string> seen;
  for (const IDSymbol& s : gIDSymbolTable) {
    if (s.name == nullptr) break;
    if (!seen.insert(s.name).second) continue;  // a few names are listed twice, same value
    out += "| `" + std::string(s.name) + "` | " + std::to_string(s.value) + " |\n";
  }
  return out;
}

std::string packetTypeTable() {
  std::string out = "| Symbol | Packet operation |\n| --- | --- |\n";
  for (const CmdPacketType& t : g_CmdPacketType)
    out += "| `" + std::string(t.symbol) + "` | " + std::to_string(t.value) + " |\n";
  return out;
}

bool generate(Notes notes, std::map<std::string, std::string>& blocks) {
  const std::vector<KeyInfo> keys = keyCatalogue();
  constexpr std::pair<const char*, const char*> kSections[] = {{"global-keys", "[Global]"},
                                                               {"zelp-keys", "[ZELP]"},
                                                               {"zelp-raw-keys", "[ZELP_Raw]"},
                                                               {"kelm-keys", "[KELM]"},
                                                               {"image-keys", "[Image]"}};
  bool ok = true;
  for (const auto& [name, section] : kSections)
    ok = keyTable(section, keys, notes, blocks[name]) && ok;
  for (const auto& [key, note] : notes) {
    std::fprintf(stderr, "docgen: note for %s %s names no key of the reader\n", key.first.c_str(),
                 key.second.c_str());
    ok = false;
  }
  blocks["symbols"] = symbolTable();
  blocks["packet-types"] = packetTypeTable();
  return ok;
}

// The document with every generated block replaced; false when a block is missing or unclosed.
bool rewrite(const std::string& doc, const std::map<std::string, std::string>& blocks,
             std::string& out) {
  std::set<std::string> found;
  std::istringstream in(doc);
  std::string line, open;
  while (std::getline(in, line)) {
    if (!open.empty()) {
      if (line != "<!-- end:" + open + " -->") continue;
      out += blocks.at(open) + line + "\n";
      open.clear();
      continue;
    }
    out += line + "\n";
    constexpr const char* kOpen = "<!-- generated:";
    if (line.rfind(kOpen, 0) == 0 && line.size() > std::strlen(kOpen) + 4) {
      std::string name = line.substr(std::strlen(kOpen), line.size() - std::strlen(kOpen) - 4);
      if (!blocks.contains(name)) {
        std::fprintf(stderr, "docgen: unknown block %s\n", name.c_str());
        return false;
      }
      found.insert(name);
      open = name;
    }
  }
  if (!open.empty()) {
    std::fprintf(stderr, "docgen: block %s is not closed\n", open.c_str());
    return false;
  }
  bool ok = true;
  for (const auto& [name, text] : blocks) {
    if (found.contains(name)) continue;
    std::fprintf(stderr, "docgen: the document has no block %s\n", name.c_str());
    ok = false;
  }
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4 || (std::strcmp(argv[1], "--write") != 0 && std::strcmp(argv[1], "--check") != 0)) {
    std::fputs("usage: docgen --write|--check DOC.md NOTES.tsv\n", stderr);
    return 2;
  }
  const bool write = std::strcmp(argv[1], "--write") == 0;
  Notes notes;
  if (!readNotes(argv[3], notes)) return 1;
  std::map<std::string, std::string> blocks;
  if (!generate(std::move(notes), blocks)) return 1;

  std::ifstream in(argv[2], std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "docgen: cannot read %s\n", argv[2]);
    return 1;
  }
  std::ostringstream text;
  text << in.rdbuf();
  const std::string doc = text.str();
  std::string updated;
  if (!rewrite(doc, blocks, updated)) return 1;
  if (updated == doc) return 0;
  if (!write) {
    std::fprintf(stderr, "docgen: the tables of %s are out of date; run scripts/update-docs.sh\n",
                 argv[2]);
    return 1;
  }
  std::ofstream(argv[2], std::ios::binary) << updated;
  return 0;
}
