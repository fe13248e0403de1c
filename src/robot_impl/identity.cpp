// What a controller says of itself, and whether it fits the robot class.
#include <zivra/error.h>
#include <zivra/version.h>

#include "core/json.h"
#include "core/library_message.h"
#include "robot_impl/impl.h"

namespace zivra::internal {

namespace {

// An absent member leaves what is there; false for one of another type.
bool takeText(const Json::Value& object, const char* key, std::string& out) {
  const Json::Value& value = member(object, key);
  if (value.isNull()) return true;
  const auto text = asText(value);
  if (text) out = *text;
  return text.has_value();
}

}  // namespace

bool readInfo(const Json::Value& value, Info& info) {
  Info read;
  if (!value.isObject()) return false;
  const char* version = hasMember(value, "version_3.0") ? "version_3.0" : "version";
  if (!takeText(value, "id", read.id) || !takeText(value, version, read.version) ||
      !takeText(value, "mac", read.mac) || !takeText(value, "type", read.type)) {
    return false;
  }
  if (read.id.empty()) read.id = "default";
  const Json::Value& joints = member(value, "joint_num");
  if (!joints.isNull()) {
    const auto count = asInt(joints);
    if (!count) return false;
    read.joint_num = *count;
  }
  info = std::move(read);
  return true;
}

void checkController(const Info& info, WorkType actualType, WorkType requestedType, unsigned short dof) {
  if (isOlder(parseVersion(info.version), minimumControllerVersion())) {
    throw ProtocolException(libraryMessage(Message::minimumVersion) +
                            textWithBuild(minimumControllerVersion()));
  }
  if (info.joint_num != dof || actualType != requestedType) {
    throw ExecutionException(libraryMessage(Message::robotTypeMismatch) + info.type);
  }
}

}  // namespace zivra::internal
