// Files of program projects: bringing them to the controller and removing them there.
#include <filesystem>

#include <zivra/base_robot.h>

#include "core/codes.h"
#include "robot/operation.h"
#include "robot/project_paths.h"

namespace zivra {

using internal::ImportFault;
using internal::Operation;
using internal::Word;

namespace {

constexpr std::uint64_t largestFile = 10 * 1024 * 1024;

constexpr int functionMismatch = -277, falseProject = -278, noSuchFile = -279, noSuchProject = -60005;

// What the controller says of a file that it took up; any other word is a success.
constexpr Word<int> projectWords[] = {{"function_error", functionMismatch},
                                      {"false_project_zip", falseProject}};
constexpr Word<int> fileWords[] = {{"function_error", functionMismatch},
                                   {"empty_data", internal::failedToSend},
                                   {"wrong_file_type", internal::wrongFileType},
                                   {"non-exist task", noSuchProject},
                                   {"open_file_error", internal::unopenedFile}};

bool exists(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::exists(path, ignored);
}

// Has the file that was sent last taken up. The text of `data.<nameMember>`, empty on failure.
template <std::size_t n>
std::string takeUp(Operation& op, const char* key, const Json::Value& request, const Word<int> (&words)[n],
                   const char* nameMember, std::error_code& ec) {
  auto reply = op.command(key, request);
  if (!reply.isData()) return {};
  const Json::Value& data = internal::member(reply.value(), "data");
  if (internal::hasMember(data, "f")) {
    const int code = internal::Reply(ec, internal::member(data, "f")).word(words, 0);
    if (code != 0) ec = internal::codeOf(code);
  }
  return internal::Reply(ec, internal::member(data, nameMember)).text();
}

Json::Value description(const std::string& name, const char* function, bool overwrite) {
  Json::Value value;
  value["file_name"] = name;
  value["function"] = function;
  value["overwrite"] = overwrite;
  return value;
}

}  // namespace

std::string BaseRobot::importProject(const std::string& file_path, bool overwrite,
                                     std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  if (!exists(file_path)) {
    ec = internal::codeOf(noSuchFile);
    op.noteError("importProject {} not exist", file_path);
    return {};
  }
  std::string name;
  if (!internal::projectNameOf(file_path, name)) {
    ec = internal::codeOf(internal::wrongFileType);
    op.noteError("importProject {} not zip", file_path);
    return {};
  }
  impl().service->sendFile(file_path, largestFile, description(name, "import_project", overwrite), ec,
                           *impl().transferProgress.get());
  if (ec) {
    op.noteError("importProject {} send file error ({})", file_path, ec);
    return {};
  }
  const std::string stored =
      takeUp(op, "ix.sdk.import_project", Json::Value(), projectWords, "project_name", ec);
  op.note("importProject {} {} ({})", file_path, overwrite, ec);
  return stored;
}

void BaseRobot::removeProject(const std::string& project_name, std::error_code& ec,
                              bool remove_all) noexcept {
  Operation op(impl(), ec);
  Json::Value request;
  request["name"] = project_name;
  request["remove_all"] = remove_all;
  auto reply = op.command("ix.sdk.remove_project", request);
  reply.judge();
  reply.tellAs(-1, noSuchProject);
  op.note("removeProject {}, all {} ({})", project_name, remove_all, ec);
}

std::string BaseRobot::importFile(const std::string& src_file_path, const std::string& dest, bool overwrite,
                                  std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  const std::string source = internal::withSlashes(src_file_path);
  const std::string destination = internal::withSlashes(dest);
  if (!exists(source)) {
    ec = internal::codeOf(noSuchFile);
    op.noteError("importFile {} doesn't exist", source);
    return {};
  }
  internal::FileImport import;
  switch (internal::planImport(source, destination, import)) {
    case ImportFault::destination:
      ec = Code::argumentInvalid;
      op.noteError("importFile {} invalid dest", destination);
      return {};
    case ImportFault::projectFileExtension:
      ec = internal::codeOf(internal::wrongFileType);
      op.noteError("importFile {}, {} json/xml file extension error", source, destination);
      return {};
    case ImportFault::programExtension:
      ec = internal::codeOf(internal::wrongFileType);
      op.noteError("importFile {}, {} mod file extension error", source, destination);
      return {};
    case ImportFault::none:
      break;
  }
  impl().service->sendFile(source, largestFile, description(import.name, "import_project_file", overwrite),
                           ec, *impl().transferProgress.get());
  if (ec) {
    op.noteError("importFile {}, {} ({})", source, destination, ec);
    return {};
  }
  const std::string stored =
      takeUp(op, "eci.file_transfer.import_project_file", import.request, fileWords, "file_name", ec);
  op.note("importFile {} {} ({})", source, destination, ec);
  return stored;
}

void BaseRobot::removeFiles(const std::vector<std::string>& file_path_list, std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  if (file_path_list.empty()) {
    ec = Code::argumentInvalid;
    return op.noteError("removeFiles empty list");
  }
  std::vector<std::string> paths;
  Json::Value list(Json::arrayValue);
  for (const std::string& given : file_path_list) {
    const std::string& path = paths.emplace_back(internal::withSlashes(given));
    Json::Value entry;
    ec = internal::planRemoval(path, entry);
    if (ec == Code::argumentInvalid) return op.noteError("removeFiles {} : invalid list", path);
    if (ec) return op.noteError("removeFiles {} file type wrong", path);
    list.append(entry);
  }
  Json::Value request;
  request["list"] = std::move(list);
  op.command("project.remove_files", request).judge();
  op.note("removeFiles {} ({})", paths, ec);
}

void BaseRobot::setTransferProgress(TransferProgress progress) {
  impl().transferProgress.set(std::move(progress));
}

}  // namespace zivra
