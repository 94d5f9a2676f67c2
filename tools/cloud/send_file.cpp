#include <algorithm>
#include <array>
#include <memory>

#include "tools/cloud/device_api.h"
#include "tools/cloud/http.h"

// The opened file stays what it was when another one is renamed into its place meanwhile.
void SendFile(const std::filesystem::path& path, const httplib::Request& request,
              httplib::Response& response) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(path, ignored)) throw Refusal{404, "no such file"};
  const auto file = std::make_shared<std::ifstream>(OpenFile(path));
  const std::streamoff end = file->seekg(0, std::ios::end).tellg();
  for (const auto& [first, last] : request.ranges) {  // the library would send what is asked for
    if (std::max(first, last) >= end) response.status = 416;
  }
  if (response.status == 416) return;
  const auto send = [file, name = request.path](std::size_t offset, std::size_t length,
                                                httplib::DataSink& sink) {
    // One TLS record; a block of several would have to reach a slow client in one write time-out.
    std::array<char, std::size_t{16} * 1024> block;
    file->seekg(static_cast<std::streamoff>(offset));
    file->read(block.data(), static_cast<std::streamsize>(std::min(length, block.size())));
    const auto count = static_cast<std::size_t>(file->gcount());
    if (count > 0 && sink.write(block.data(), count)) return true;
    LogLine(name + " broken off");
    return false;
  };
  response.set_content_provider(static_cast<std::size_t>(end), "application/octet-stream", send);
}
