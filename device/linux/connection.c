#include "device/linux/connection.h"

#include <errno.h>
#include <limits.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "device/linux/notice.h"

enum { kReadBytes = 32 * 1024, kReadsInARow = 8, kFlushMs = 1000 };

static void end(kiv_connection* connection, const char* why) {
  if (why != NULL && !connection->over) kiv_notice(KIV_NOTICE_ERROR, "%s", why);
  connection->over = true;
}

static uint8_t* take_storage(void* context, uint32_t body_bytes) {
  (void)context;
  return malloc(body_bytes);
}

static void give_back_storage(void* context, uint8_t* storage) {
  (void)context;
  free(storage);
}

static void session_replaced(void* context, bool accepted) {
  kiv_connection* connection = context;
  kiv_queue_clear(&connection->queue);
  connection->in_session = accepted;
  connection->on_session(connection->context, connection, accepted);
}

static bool has_room(void* context) {
  const kiv_connection* connection = context;
  return kiv_queue_has_room(&connection->queue);
}

void kiv_connection_send(kiv_connection* connection, const kiv_head* head, const uint8_t* body,
                         uint32_t body_bytes) {
  if (connection->over) return;
  if (!kiv_queue_push(&connection->queue, head, body, body_bytes)) {
    end(connection, "out of memory for an answer, the connection is closed");
  } else if (kiv_queue_is_overfull(&connection->queue)) {
    end(connection, "the host asks without reading, the connection is closed");
  }
}

static void send_message(void* context, const kiv_head* head, const uint8_t* body,
                         uint32_t body_bytes) {
  kiv_connection* connection = context;
  kiv_head sent = *head;
  if (head->kind == KIV_CNF && connection->on_confirmation != NULL &&
      !connection->on_confirmation(connection->context, &sent, body, &body_bytes)) {
    return;
  }
  kiv_connection_send(connection, &sent, body, body_bytes);
}

static uint32_t dropped_indications(void* context) {
  const kiv_connection* connection = context;
  return connection->queue.dropped_indications;
}

static bool is_socket(int descriptor) {
  struct stat status;
  return fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode);
}

kiv_connection* kiv_connection_open(int in, int out, bool owns_descriptors,
                                    const kiv_agent_setup* setup, kiv_session_fn on_session,
                                    void* context) {
  kiv_connection* connection = calloc(1, sizeof *connection);
  if (connection == NULL) return NULL;
  connection->frame_buffer = malloc(KIV_MAX_FRAME_BYTES);
  if (connection->frame_buffer == NULL || !kiv_queue_init(&connection->queue)) {
    free(connection->frame_buffer);
    free(connection);
    return NULL;
  }
  connection->in = in;
  connection->out = out;
  connection->owns_descriptors = owns_descriptors;
  connection->is_socket = is_socket(out);
  connection->on_session = on_session;
  connection->context = context;
  const kiv_agent_owner owner = {connection, take_storage, give_back_storage,  session_replaced,
                                 has_room,   send_message, dropped_indications};
  kiv_agent_init(&connection->agent, setup, &owner, connection->frame_buffer);
  return connection;
}

void kiv_connection_close(kiv_connection* connection) {
  kiv_agent_end(&connection->agent);
  kiv_queue_destroy(&connection->queue);
  if (connection->owns_descriptors) {
    close(connection->in);
    if (connection->out != connection->in) close(connection->out);
  }
  free(connection->frame_buffer);
  free(connection);
}

short kiv_connection_wants_in(const kiv_connection* connection) {
  return connection->over || connection->input_ended ? 0 : POLLIN;
}

short kiv_connection_wants_out(const kiv_connection* connection) {
  return connection->over || kiv_queue_is_empty(&connection->queue) ? 0 : POLLOUT;
}

// More than once in a row while there is more, so that a burst costs few turns of the loop;
// bounded, so that a host that never stops sending cannot keep the agent from writing.
void kiv_connection_read(kiv_connection* connection, int64_t now_ms) {
  uint8_t bytes[kReadBytes];
  for (int i = 0; i < kReadsInARow && !connection->over; ++i) {
    const ssize_t n = read(connection->in, bytes, sizeof bytes);
    if (n < 0 && (errno == EINTR || errno == EAGAIN)) return;
    if (n <= 0) {  // the end, or a line that is gone
      connection->input_ended = true;
      connection->flush_until_ms = now_ms + kFlushMs;
      return;
    }
    kiv_agent_feed(&connection->agent, bytes, (uint32_t)n);
    struct pollfd more = {connection->in, POLLIN, 0};
    if (poll(&more, 1, 0) <= 0) return;
  }
}

// The descriptors may be shared with other programs (a terminal, a shell's pipe), so their mode is
// left alone. A pipe that poll calls writable takes PIPE_BUF bytes without blocking.
static ssize_t write_some(const kiv_connection* connection, const uint8_t* bytes, size_t length) {
  if (connection->is_socket) {
    return send(connection->out, bytes, length, MSG_DONTWAIT | MSG_NOSIGNAL);
  }
  return write(connection->out, bytes, length < PIPE_BUF ? length : PIPE_BUF);
}

void kiv_connection_write(kiv_connection* connection) {
  while (!connection->over) {
    size_t length_bytes = 0;
    const uint8_t* bytes = kiv_queue_bytes(&connection->queue, &length_bytes);
    if (bytes == NULL) return;
    struct pollfd ready = {connection->out, POLLOUT, 0};
    if (poll(&ready, 1, 0) <= 0) return;
    const ssize_t n = write_some(connection, bytes, length_bytes);
    if (n < 0 && (errno == EINTR || errno == EAGAIN)) return;
    if (n < 0) {
      end(connection, NULL);  // the host has gone
      return;
    }
    kiv_queue_wrote(&connection->queue, (size_t)n);
  }
}

bool kiv_connection_is_finished(const kiv_connection* connection, int64_t now_ms) {
  if (connection->over) return true;
  if (connection->greet_until_ms != 0 && now_ms >= connection->greet_until_ms) return true;
  return connection->input_ended &&
         (kiv_queue_is_empty(&connection->queue) || now_ms >= connection->flush_until_ms);
}

void kiv_connection_indicate(kiv_connection* connection, uint32_t id, const void* body,
                             uint32_t body_bytes) {
  kiv_head head = kiv_head_of(KIV_IND);
  head.id = id;
  // Without memory it is one of the dropped ones, which the next indication tells.
  (void)kiv_queue_push(&connection->queue, &head, body, body_bytes);
}

void kiv_connection_answer(kiv_connection* connection, uint32_t id, uint32_t result,
                           const uint8_t* body, uint32_t body_bytes) {
  kiv_head head = kiv_head_of(KIV_IND);
  head.id = id;
  head.result = result;
  if (connection->over) return;
  if (!kiv_queue_push_answer(&connection->queue, &head, body, body_bytes)) {
    end(connection, "out of memory for an answer, the connection is closed");
  }
}
