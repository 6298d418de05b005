// A serial port: opened for one program, set to raw 8N1 at any rate.
//
// Modem lines are left alone (no hang-up when it is closed, no wait for a carrier when it is
// opened), so that a board that resets at a hang-up goes on running between two sessions.
//
// Threads: any. Errors: OpenSerialLine answers a reason for a person, one line.
#pragma once

#include <cstddef>
#include <string>

#include "platform/devlink/endpoint.h"
#include "platform/devlink/unique_fd_posix.h"

namespace devlink {

// Not valid: `problem` says why. Locks the port against other programs until it is closed.
UniqueFd OpenSerialLine(const Endpoint& endpoint, std::string& problem);

// Bytes that were written and are not on the line yet.
std::size_t QueuedBytes(int line);
// Before it is closed: lets other programs have the port, and forgets what is queued. Otherwise
// closing a port whose other side takes nothing waits for half a minute.
void ReleaseLine(int line);

}  // namespace devlink
