// The layers of src/ depend one way. docs/architecture.md holds the table of
// which folder may include which; this test reads that table and every
// #include "..." of src/ and include/orvanta/, and names each arrow that
// runs against it.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kSourceDir = ORVANTA_SOURCE_DIR;

// Folder (layer) -> the folders it may include besides itself.
using LayerTable = std::map<std::string, std::set<std::string>>;
// Public header path prefix ("orvanta/platform/", "orvanta/value.h") -> layer.
using PublicHeaders = std::map<std::string, std::string>;

struct Rules {
  LayerTable layers;
  PublicHeaders publicHeaders;
};

std::vector<std::string> backticked(const std::string& cell) {
  std::vector<std::string> names;
  static const std::regex name("`([^`]+)`");
  for (auto it = std::sregex_iterator(cell.begin(), cell.end(), name); it != std::sregex_iterator(); ++it) {
    names.push_back((*it)[1]);
  }
  return names;
}

// The rows of the markdown table whose header row starts with header.
std::vector<std::pair<std::string, std::string>> tableRows(const std::string& markdown, const std::string& header) {
  std::vector<std::pair<std::string, std::string>> rows;
  std::istringstream lines(markdown);
  std::string line;
  bool inside = false;
  while (std::getline(lines, line)) {
    if (!inside) {
      inside = line.rfind(header, 0) == 0;
      continue;
    }
    if (line.rfind("|", 0) != 0) break;
    if (line.rfind("|---", 0) == 0 || line.rfind("| ---", 0) == 0) continue;
    const auto second = line.find('|', 1);
    if (second == std::string::npos) continue;
    rows.emplace_back(line.substr(1, second - 1), line.substr(second + 1));
  }
  return rows;
}

Rules readRules(const std::string& markdown) {
  Rules rules;
  for (const auto& [folderCell, allowedCell] : tableRows(markdown, "| folder | may include |")) {
    const auto folders = backticked(folderCell);
    if (folders.size() != 1) continue;
    const auto allowed = backticked(allowedCell);
    rules.layers[folders.front()] = std::set<std::string>(allowed.begin(), allowed.end());
  }
  for (const auto& [headersCell, layerCell] : tableRows(markdown, "| public header | layer |")) {
    const auto layer = backticked(layerCell);
    if (layer.size() != 1) continue;
    for (const auto& header : backticked(headersCell)) rules.publicHeaders[header] = layer.front();
  }
  return rules;
}

// The layer a path belongs to: "src/platform/linux/x.cc" -> "platform/linux",
// "src/storage/x.h" -> "storage"; an include "orvanta/..." by the public
// header table (the longest matching prefix). nullopt: no layer known.
std::optional<std::string> layerOfSource(const std::string& relativeToSrc, const Rules& rules) {
  const fs::path path(relativeToSrc);
  auto it = path.begin();
  if (it == path.end()) return std::nullopt;
  std::string first = it->string();
  if (++it == path.end()) return std::nullopt;  // a file directly in src/
  const std::string nested = first + "/" + it->string();
  if (rules.layers.count(nested)) return nested;
  if (rules.layers.count(first)) return first;
  return std::nullopt;
}

std::optional<std::string> layerOfPublic(const std::string& header, const Rules& rules) {
  std::optional<std::string> best;
  std::size_t bestLength = 0;
  for (const auto& [prefix, layer] : rules.publicHeaders) {
    if (header.rfind(prefix, 0) == 0 && prefix.size() > bestLength) {
      best = layer;
      bestLength = prefix.size();
    }
  }
  return best;
}

std::optional<std::string> layerOfInclude(const std::string& include, const Rules& rules) {
  if (include.rfind("orvanta/", 0) == 0) return layerOfPublic(include, rules);
  return layerOfSource(include, rules);
}

// One arrow against the table, as "file -> include (from -> to)"; a file or
// include whose layer the tables do not name counts as one too.
std::vector<std::string> violations(const std::string& file, const std::optional<std::string>& fileLayer,
                                    const std::string& text, const Rules& rules) {
  std::vector<std::string> found;
  if (!fileLayer) {
    found.push_back(file + ": in no layer of the table");
    return found;
  }
  static const std::regex include(R"re(^\s*#\s*include\s*"([^"]+)")re");
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    std::smatch match;
    if (!std::regex_search(line, match, include)) continue;
    const std::string target = match[1];
    const auto targetLayer = layerOfInclude(target, rules);
    if (!targetLayer) {
      found.push_back(file + " -> " + target + ": in no layer of the table");
    } else if (*targetLayer != *fileLayer && !rules.layers.at(*fileLayer).count(*targetLayer)) {
      found.push_back(file + " -> " + target + " (" + *fileLayer + " -> " + *targetLayer + ")");
    }
  }
  return found;
}

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

Rules projectRules() { return readRules(readFile(kSourceDir / "docs/architecture.md")); }

bool isSource(const fs::path& path) { return path.extension() == ".h" || path.extension() == ".cc"; }

TEST(IncludeDirection, TheTableNamesEveryFolderOfSrcAndAllowsOnlyLowerOnes) {
  const Rules rules = projectRules();
  ASSERT_FALSE(rules.layers.empty()) << "no layer table in docs/architecture.md";
  ASSERT_FALSE(rules.publicHeaders.empty()) << "no public header table in docs/architecture.md";
  // Every layer named as allowed is itself a row, and no two layers may each
  // include the other (directly or through others): the table is acyclic.
  std::map<std::string, int> depth;
  for (const auto& [layer, allowed] : rules.layers) {
    for (const auto& lower : allowed) EXPECT_TRUE(rules.layers.count(lower)) << layer << " allows unknown " << lower;
  }
  std::function<bool(const std::string&, std::set<std::string>&)> acyclic = [&](const std::string& layer,
                                                                                std::set<std::string>& path) {
    if (!path.insert(layer).second) return false;
    for (const auto& lower : rules.layers.at(layer)) {
      if (rules.layers.count(lower) && !acyclic(lower, path)) return false;
    }
    path.erase(layer);
    return true;
  };
  for (const auto& [layer, allowed] : rules.layers) {
    std::set<std::string> path;
    EXPECT_TRUE(acyclic(layer, path)) << "the table lets " << layer << " reach itself";
  }
}

TEST(IncludeDirection, NoIncludeOfTheTreeRunsAgainstTheTable) {
  const Rules rules = projectRules();
  std::vector<std::string> found;
  for (const auto& entry : fs::recursive_directory_iterator(kSourceDir / "src")) {
    if (!entry.is_regular_file() || !isSource(entry.path())) continue;
    const std::string relative = fs::relative(entry.path(), kSourceDir / "src").string();
    auto more = violations("src/" + relative, layerOfSource(relative, rules), readFile(entry.path()), rules);
    found.insert(found.end(), more.begin(), more.end());
  }
  for (const auto& entry : fs::recursive_directory_iterator(kSourceDir / "include")) {
    if (!entry.is_regular_file() || !isSource(entry.path())) continue;
    const std::string relative = fs::relative(entry.path(), kSourceDir / "include").string();
    auto more = violations("include/" + relative, layerOfPublic(relative, rules), readFile(entry.path()), rules);
    found.insert(found.end(), more.begin(), more.end());
  }
  std::string report;
  for (const auto& line : found) report += "\n  " + line;
  EXPECT_TRUE(found.empty()) << "includes against docs/architecture.md:" << report;
}

TEST(IncludeDirection, AnArrowUpwardsOrOutOfTheTableIsReported) {
  const Rules rules = readRules(
      "| folder | may include |\n|---|---|\n| `base` | — |\n| `storage` | `base` |\n| `net` | `base`, `storage` |\n"
      "\n| public header | layer |\n|---|---|\n| `orvanta/value.h` | `base` |\n| `orvanta/runtime.h` | `net` |\n");
  struct Case {
    std::string file;
    std::string text;
    std::size_t expected;
  };
  const std::vector<Case> cases{
      {"storage/queue.cc", "#include \"storage/queue.h\"\n#include \"base/log.h\"\n", 0},
      {"net/envelope.cc", "#include \"storage/queue.h\"\n#include \"orvanta/value.h\"\n", 0},
      {"storage/queue.cc", "#include \"net/web.h\"\n", 1},          // upwards
      {"storage/queue.cc", "  #  include \"orvanta/runtime.h\"\n", 1},  // a public header of a higher layer
      {"storage/queue.cc", "#include \"tools/x.h\"\n#include \"orvanta/other.h\"\n", 2},  // in no layer
      {"base/value.cc", "#include <nlohmann/json.hpp>\n// #include \"net/web.h\" is a comment\n", 0},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(violations(c.file, layerOfSource(c.file, rules), c.text, rules).size(), c.expected)
        << c.file << ":\n" << c.text;
  }
  EXPECT_EQ(violations("tools/x.cc", layerOfSource("tools/x.cc", rules), "", rules).size(), 1u);
}

}  // namespace
