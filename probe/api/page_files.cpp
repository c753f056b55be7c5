#include "probe/api/page_files.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace probe {
namespace {

namespace fs = std::filesystem;

std::string TypeOf(const fs::path& file) {
  static const std::map<std::string, std::string> types{{".html", "text/html; charset=utf-8"},
                                                        {".js", "text/javascript; charset=utf-8"},
                                                        {".css", "text/css; charset=utf-8"},
                                                        {".svg", "image/svg+xml"},
                                                        {".png", "image/png"},
                                                        {".woff2", "font/woff2"},
                                                        {".json", "application/json"},
                                                        {".txt", "text/plain; charset=utf-8"}};
  const auto found = types.find(file.extension().string());
  return found == types.end() ? "application/octet-stream" : found->second;
}

std::shared_ptr<const std::string> Read(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return nullptr;
  std::ostringstream content;
  content << file.rdbuf();
  return std::make_shared<const std::string>(content.str());
}

}  // namespace

PageFiles::PageFiles(const std::string& folder) {
  // A folder that cannot be opened is no error: it has no pages, and the rest of the probe works without them.
  std::error_code none;
  std::size_t bytes = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder, none)) {
    if (!entry.is_regular_file(none) || entry.path().extension() == ".gz") continue;
    const auto content = Read(entry.path());
    if (content == nullptr) continue;
    bytes += content->size();
    if (files_.size() >= kMaxFiles || bytes > kMaxBytes)
      throw std::runtime_error("server.dashboard = \"" + folder + "\" is no dashboard: it holds more than " +
                               std::to_string(kMaxFiles) + " files or " + std::to_string(kMaxBytes) + " octets");
    const std::string path = "/" + fs::relative(entry.path(), folder).generic_string();
    files_[path] = {TypeOf(entry.path()), EtagOf(*content), content, Read(entry.path().string() + ".gz")};
  }
  const auto index = files_.find("/index.html");
  if (index != files_.end()) files_["/"] = index->second;
}

HttpAnswer PageFiles::Answer(const HttpRequest& request) const {
  const File& file = files_.at(request.path);
  HttpAnswer answer;
  answer.content_type = file.content_type;
  answer.caching = request.path.starts_with("/assets/") ? Caching::kForever : Caching::kRevalidate;
  answer.is_gzip = request.accepts_gzip && file.gzip != nullptr;
  answer.body = answer.is_gzip ? file.gzip : file.plain;
  answer.etag = file.etag;
  // Another encoding is another representation, and must not share its strong ETag. RFC 9110, section 8.8.3.3
  if (answer.is_gzip) answer.etag.insert(answer.etag.size() - 1, "-gzip");
  return answer;
}

std::string DefaultPageFolder() {
  std::error_code none;
  // The link leads to the executable's own file, however it was called. proc(5)
  const fs::path executable = fs::read_symlink("/proc/self/exe", none);
  return (executable.parent_path().parent_path() / VEXORA_DASHBOARD_DIR).string();
}

}  // namespace probe
