#include "platform/SystemLog.h"

namespace velune::platform {

int systemLogRecordLevel(const SystemLogRecord& record) {
  const std::string* level = record.get("Level");
  if (level == nullptr || level->size() != 1 || (*level)[0] < '0' || (*level)[0] > '9') {
    return -1;
  }
  return (*level)[0] - '0';
}

}  // namespace velune::platform
