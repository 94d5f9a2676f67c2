#include "tools/cloud/release_folder.h"

#include <unistd.h>

#include <fstream>

namespace standin {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view components = "files";

bool Failed(const std::error_code& code, const fs::path& target, std::string& error) {
  if (!code) return false;
  error = "cannot write " + target.string() + ": " + code.message();
  return true;
}

// A temporary name in the same folder, where a rename is atomic.
std::optional<fs::path> TemporaryFor(const fs::path& target, std::string& error) {
  std::error_code code;
  fs::create_directories(target.parent_path(), code);
  if (Failed(code, target, error)) return std::nullopt;
  return target.string() + ".new." + std::to_string(getpid());
}

bool PutInPlace(const fs::path& temporary, const fs::path& target, std::string& error) {
  std::error_code code;
  fs::rename(temporary, target, code);
  if (!Failed(code, target, error)) return true;
  fs::remove(temporary, code);
  return false;
}

}  // namespace

bool IsPathElement(std::string_view text) {
  constexpr std::string_view forbidden("/\0", 2);
  return !text.empty() && text != "." && text != ".." &&
         text.find_first_of(forbidden) == std::string_view::npos;
}

bool IsLabel(std::string_view text) { return IsPathElement(text) && text != components; }

fs::path ReleaseFolder::ManifestPath(const std::string& label) const {
  return root / label / "manifest.json";
}

fs::path ReleaseFolder::ComponentPath(const std::string& filename,
                                      const std::string& version) const {
  return root / components / filename / version;
}

std::optional<std::string> ReadText(const fs::path& path) {
  std::error_code ignored;
  if (!fs::is_regular_file(path, ignored)) return std::nullopt;
  std::ifstream input(path, std::ios::binary | std::ios::ate);
  if (!input) return std::nullopt;
  std::string text(static_cast<std::size_t>(input.tellg()), '\0');
  input.seekg(0);
  if (!input.read(text.data(), static_cast<std::streamsize>(text.size()))) return std::nullopt;
  return text;
}

bool PutText(const fs::path& target, const std::string& text, std::string& error) {
  const auto temporary = TemporaryFor(target, error);
  if (!temporary) return false;
  std::ofstream output(*temporary, std::ios::binary);
  output << text;
  output.close();
  if (output) return PutInPlace(*temporary, target, error);
  error = "cannot write " + temporary->string();
  std::error_code ignored;
  fs::remove(*temporary, ignored);
  return false;
}

bool PutCopy(const fs::path& target, const fs::path& source, std::string& error) {
  const auto temporary = TemporaryFor(target, error);
  if (!temporary) return false;
  std::error_code code;
  fs::copy_file(source, *temporary, fs::copy_options::overwrite_existing, code);
  if (!Failed(code, target, error)) return PutInPlace(*temporary, target, error);
  fs::remove(*temporary, code);
  return false;
}

}  // namespace standin
