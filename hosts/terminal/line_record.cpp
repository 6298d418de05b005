#include "hosts/terminal/line_record.h"

namespace kiv {

void LineRecorder::TextPosted(Time now) {
  if (!record_.posted) record_.posted = now;
}

void LineRecorder::Posted(std::uint32_t cmdId, std::uint16_t tag, Body request, Time now) {
  if (!record_.posted) record_.posted = now;
  if (record_.cmdId != 0) return;
  record_.cmdId = cmdId;
  record_.tag = tag;
  keepsBodies_ = request.size() <= LineRecord::kMaxBodyBytes;
  if (keepsBodies_) record_.request.assign(request.begin(), request.end());
}

void LineRecorder::PostFailed(std::uint32_t cmdId, std::uint16_t tag) {
  if (IsOurs(cmdId, tag) && !record_.firstByte) Begin(record_.line);
}

void LineRecorder::ConfirmationRead(std::uint32_t cmdId, std::uint16_t tag, Time readAt) {
  if (IsOurs(cmdId, tag) && !record_.firstByte) record_.firstByte = readAt;
}

void LineRecorder::ConfirmationHandedOver(std::uint32_t cmdId, std::uint16_t tag,
                                          std::uint32_t result, Body reply, Time now) {
  if (!IsOurs(cmdId, tag) || record_.decoded) return;
  record_.decoded = now;
  record_.isComparable = keepsBodies_ && result == 0 && reply.size() <= LineRecord::kMaxBodyBytes;
  if (record_.isComparable) record_.reply.assign(reply.begin(), reply.end());
}

}  // namespace kiv
