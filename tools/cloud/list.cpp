#include <algorithm>
#include <iomanip>
#include <sstream>

#include "tools/cloud/manifest.h"

namespace {

struct Row {
  std::string label, process, version;
  std::size_t files;
};

std::vector<Row> RowsOf(const ReleaseFolder& folder) {
  std::vector<Row> rows;
  for (const std::string& label : folder.Labels()) {
    const Manifest manifest = LoadManifest(folder, label);
    for (const Json& entry : manifest.Processes()) {
      const Json files = entry.is_object() ? entry.value("components", Json()) : Json();
      rows.push_back({label, NameOf(entry), NameOf(entry, "version"), files.size()});
    }
  }
  return rows;
}

int WidthOf(const std::vector<Row>& rows, std::string Row::*column) {
  std::size_t width = 0;
  for (const Row& row : rows) width = std::max(width, (row.*column).size());
  return static_cast<int>(width) + 2;
}

}  // namespace

std::string List(const ReleaseFolder& folder) {
  const std::vector<Row> rows = RowsOf(folder);
  std::ostringstream text;
  text << std::left;
  for (const Row& row : rows) {
    for (const auto column : {&Row::label, &Row::process, &Row::version}) {
      text << std::setw(WidthOf(rows, column)) << row.*column;
    }
    text << row.files << (row.files == 1 ? " file\n" : " files\n");
  }
  return text.str();
}
