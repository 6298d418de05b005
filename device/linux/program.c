#include "device/linux/program.h"

#include <errno.h>
#include <inttypes.h>
#include <poll.h>
#include <signal.h>
#include <string.h>
#include <sys/signalfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include "board_catalogue.h"
#include "device/core/bytes.h"
#include "device/linux/at_channel.h"
#include "device/linux/board.h"
#include "device/linux/channel_set.h"
#include "device/linux/connection.h"
#include "device/linux/hci_channel.h"
#include "device/linux/notice.h"
#include "device/linux/test_channel.h"
#include "device/linux/transport.h"

// One host in session, and a few that have not greeted yet.
enum { kMaxConnections = 4 };
enum {
  kPollFixed = 2,
  kPollMax =
      kPollFixed + KIV_TRANSPORT_POLL_ENTRIES + KIV_CHANNEL_SET_POLL_ENTRIES + 2 * kMaxConnections
};

typedef struct kiv_program {
  const kiv_options* options;
  kiv_board board;
  kiv_agent_setup setup;
  uint8_t reply_buffer[KIV_BOARD_REPLY_BYTES];
  kiv_connection* connections[kMaxConnections];  // oldest first, null behind the last
  kiv_connection* session;                       // the one that indications go to
  kiv_transport transport;
  kiv_channel_set channels;
  int timer;
  int signals;
  bool stop;
} kiv_program;

static void end_session(kiv_program* program) {
  kiv_board_end_session(&program->board);
  kiv_channel_set_end_session(&program->channels);
}

// A connection without a session has its time for a hello that is taken. One whose hello was
// refused has what is left of it, and one whose session ended so begins anew.
static void limit_greeting(const kiv_program* program, kiv_connection* connection, bool accepted) {
  if (accepted) {
    connection->greet_until_ms = 0;
  } else if (program->transport.kind == KIV_TRANSPORT_TCP && connection->greet_until_ms == 0) {
    connection->greet_until_ms = kiv_board_now_ms() + KIV_TCP_PATIENCE_MS;
  }
}

// A host greeted: the session before, on whatever connection, is over.
static void on_session(void* context, kiv_connection* connection, bool accepted) {
  kiv_program* program = context;
  limit_greeting(program, connection, accepted);
  if (accepted && program->session != NULL && program->session != connection) {
    program->session->over = true;
  }
  if (accepted) {
    program->session = connection;
    kiv_transport_host_greeted(&program->transport);
  } else if (program->session == connection) {
    program->session = NULL;
  } else {
    return;  // a refused stranger changes nothing
  }
  end_session(program);
}

// Whether it confirms a request for faults, routed or not, and whatever became of it.
static bool is_of_faults(const kiv_head* head, const uint8_t* body, uint32_t body_bytes) {
  if (head->id != KIV_ROUTED_ID) return head->id == KIV_CMD_LINK_FAULT;
  kiv_reader route = kiv_reader_of(body, body_bytes);
  (void)kiv_read_u32(&route);
  (void)kiv_read_u32(&route);
  return kiv_read_u16(&route) == KIV_CMD_LINK_FAULT;
}

static bool on_confirmation(void* context, kiv_head* head, const uint8_t* body,
                            uint32_t* body_bytes) {
  kiv_program* program = context;
  kiv_notice(KIV_NOTICE_DEBUG, "command 0x%" PRIx32 ", tag %" PRIu16 ": result %" PRIu32, head->id,
             head->tag, head->result);
  if (is_of_faults(head, body, *body_bytes)) return true;
  // The millisecond that has begun does not count, so that nothing is confirmed too early.
  return kiv_faults_pass(&program->board.faults, head, body, body_bytes, kiv_board_now_ms() + 1);
}

static void refuse(void* context, uint32_t id, uint32_t result, const uint8_t* text,
                   uint32_t text_bytes) {
  const kiv_program* program = context;
  if (program->session != NULL) {
    kiv_connection_answer(program->session, id, result, text, text_bytes);
  }
}

static void answer(void* context, uint32_t id, const uint8_t* text, uint32_t text_bytes) {
  refuse(context, id, KIV_RESULT_OK, text, text_bytes);
}

static bool has_room(void* context) {
  const kiv_program* program = context;
  return program->session == NULL || kiv_queue_has_room_for_answers(&program->session->queue);
}

// A refused frame has no text, so a user would see nothing of it.
static uint32_t take_port(void* context, const kiv_head* head, const uint8_t* body,
                          uint32_t body_bytes) {
  static const char kNoController[] =
      "*** HCI: the device has no controller (kivagent --hci PORT)\n";
  kiv_program* program = context;
  kiv_channel_set* channels = &program->channels;
  const uint32_t result = kiv_channel_set_take(channels, head, body, body_bytes);
  if (result == KIV_RESULT_NOT_ENABLED && head->kind == KIV_SDT &&
      head->id == kiv_channel_set_answer_id(channels, KIV_PORT_HCI)) {
    answer(program, head->id, (const uint8_t*)kNoController, sizeof kNoController - 1);
  }
  return result;
}

// Null, when it was asked for, says that it cannot be had.
static bool add_channel(kiv_program* program, kiv_port port, kiv_channel* channel) {
  const kiv_channel_out out = {program, answer, refuse, has_room};
  kiv_channel_set_add(&program->channels, port, channel, &out);
  return channel != NULL;
}

// False when a port that was asked for cannot be had.
static bool set_up_channels(kiv_program* program) {
  const kiv_options* options = program->options;
  kiv_channel_set* channels = &program->channels;
  channels->variant = options->variant;
  const uint32_t at_id = kiv_channel_set_answer_id(channels, KIV_PORT_AT);
  const uint32_t hci_id = kiv_channel_set_answer_id(channels, KIV_PORT_HCI);
  bool all = add_channel(program, KIV_PORT_AT, kiv_at_channel_new(options->at_place, at_id));
  all = add_channel(program, KIV_PORT_TEST_CASE, kiv_test_channel_new()) && all;
  if (options->shell.mode != KIV_SHELL_OFF) {
    all = add_channel(program, KIV_PORT_SHELL, kiv_shell_channel_new(&options->shell)) && all;
  }
  if (options->hci_place != NULL) {
    all =
        add_channel(program, KIV_PORT_HCI, kiv_hci_channel_new(options->hci_place, hci_id)) && all;
  }
  return all;
}

// False when the folder for loads, if one was asked for, cannot be had.
static bool set_up_board(kiv_program* program) {
  const kiv_options* options = program->options;
  kiv_board_init(&program->board, "/proc", options->data_folder);
  if (options->load_folder == NULL) return true;
  const int error =
      kiv_load_open(&program->board.load, options->load_folder, options->load_limit_bytes);
  if (error == -EPERM) {
    kiv_notice(KIV_NOTICE_ERROR, "--load %s: others may write to it, so a file could be exchanged",
               options->load_folder);
  } else if (error != 0) {
    errno = -error;  // %m is its text
    kiv_notice(KIV_NOTICE_ERROR, "--load %s: %m", options->load_folder);
  }
  return error == 0;
}

static void set_up_agent(kiv_program* program) {
  const kiv_options* options = program->options;
  kiv_agent_setup* setup = &program->setup;
  setup->self.variant = options->variant;
  setup->self.product = options->product;
  setup->self.abilities = KIV_ABILITY_COMMANDS | KIV_ABILITY_INDICATIONS | KIV_ABILITY_ROUTED |
                          KIV_ABILITY_LINE_TEST | KIV_ABILITY_FAULTS |
                          (kiv_load_is_on(&program->board.load) ? KIV_ABILITY_LOADS : 0) |
                          kiv_channel_set_abilities(&program->channels);
  setup->self.fingerprint = kiv_board_fingerprint(&setup->self.fingerprint_bytes);
  setup->self.name = (const uint8_t*)options->name;
  setup->self.name_bytes = (uint8_t)strlen(options->name);
  setup->commands = kiv_board_commands(&setup->command_count);
  setup->command_context = &program->board;
  setup->reply_buffer = program->reply_buffer;
  setup->reply_bytes = sizeof program->reply_buffer;
  setup->take_port = take_port;
  setup->port_context = program;
}

static void remove_connection(kiv_program* program, int index) {
  kiv_connection* connection = program->connections[index];
  if (program->session == connection) {
    program->session = NULL;
    end_session(program);
  }
  kiv_connection_close(connection);
  for (; index + 1 < kMaxConnections; ++index) {
    program->connections[index] = program->connections[index + 1];
  }
  program->connections[kMaxConnections - 1] = NULL;
}

static bool add_connection(kiv_program* program, int in, int out, bool owns_descriptors) {
  kiv_connection* connection =
      kiv_connection_open(in, out, owns_descriptors, &program->setup, on_session, program);
  if (connection == NULL) return false;
  connection->on_confirmation = on_confirmation;
  limit_greeting(program, connection, false);
  if (program->transport.kind == KIV_TRANSPORT_SERIAL) {
    kiv_queue_slow_down(&connection->queue, program->transport.serial.baud);
  }
  int index = 0;
  while (index < kMaxConnections && program->connections[index] != NULL) ++index;
  if (index == kMaxConnections) {
    // The oldest that is not in session has had its time to greet.
    index = program->connections[0] == program->session ? 1 : 0;
    remove_connection(program, index);
    index = kMaxConnections - 1;
  }
  program->connections[index] = connection;
  return true;
}

static void take_new_host(void* context, int in, int out, bool owns_descriptors) {
  kiv_program* program = context;
  if (add_connection(program, in, out, owns_descriptors)) return;
  kiv_notice(KIV_NOTICE_ERROR, "out of memory for a connection");
  if (owns_descriptors) close(in);
  if (!kiv_transport_host_gone(&program->transport, kiv_board_now_ms())) program->stop = true;
}

static void send_held_back(void* context, const kiv_head* head, const uint8_t* body,
                           uint32_t body_bytes) {
  kiv_connection_send(context, head, body, body_bytes);
}

static void send_due(kiv_program* program) {
  const int64_t now_ms = kiv_board_now_ms();
  kiv_load_expire(&program->board.load, now_ms);
  while (program->session != NULL &&
         kiv_faults_release(&program->board.faults, now_ms, send_held_back, program->session)) {
    continue;
  }
  while (true) {
    uint8_t bytes[KIV_BOARD_INDICATION_BYTES];
    kiv_writer body = kiv_writer_of(bytes, sizeof bytes);
    const uint32_t id = kiv_board_next_indication(&program->board, now_ms, &body);
    if (id == 0) return;
    if (program->session != NULL) {
      kiv_connection_indicate(program->session, id, bytes, body.used_bytes);
    }
  }
}

// The indications that a fault asked for: as many as may wait now. The host's reading brings the
// next turn of the loop, so none of them needs the timer.
static void send_of_fault(kiv_program* program) {
  while (program->session != NULL) {
    uint8_t bytes[KIV_BOARD_INDICATION_BYTES];
    kiv_writer body = kiv_writer_of(bytes, sizeof bytes);
    const uint32_t id =
        kiv_board_next_of_fault(&program->board, program->session->queue.indications.count, &body);
    if (id == 0) return;
    kiv_connection_indicate(program->session, id, bytes, body.used_bytes);
  }
}

// Of two times the earlier one; -1 is none.
static int64_t earlier(int64_t one_ms, int64_t other_ms) {
  if (one_ms < 0 || other_ms < 0) return one_ms < 0 ? other_ms : one_ms;
  return one_ms < other_ms ? one_ms : other_ms;
}

// When the first of those that have not greeted has had its time; -1 when all have.
static int64_t next_greeting_due_ms(const kiv_program* program) {
  int64_t next_ms = -1;
  for (int i = 0; i < kMaxConnections && program->connections[i] != NULL; ++i) {
    const int64_t until_ms = program->connections[i]->greet_until_ms;
    if (until_ms != 0) next_ms = earlier(next_ms, until_ms);
  }
  return next_ms;
}

// Sets the timer to what is due next, or off.
static void set_timer(const kiv_program* program) {
  const int64_t of_hosts_ms =
      earlier(kiv_transport_next_due_ms(&program->transport), next_greeting_due_ms(program));
  const int64_t due_ms =
      earlier(kiv_board_next_due_ms(&program->board),
              earlier(of_hosts_ms, kiv_channel_set_next_due_ms(&program->channels)));
  struct itimerspec when;
  memset(&when, 0, sizeof when);
  if (due_ms >= 0) {
    when.it_value.tv_sec = (time_t)(due_ms / 1000);
    when.it_value.tv_nsec = (long)(due_ms % 1000) * 1000000;
    if (due_ms == 0) when.it_value.tv_nsec = 1;  // zero would mean off
  }
  (void)timerfd_settime(program->timer, TFD_TIMER_ABSTIME, &when, NULL);
}

static void drain(int descriptor) {
  uint8_t bytes[512];
  while (read(descriptor, bytes, sizeof bytes) > 0) continue;
}

static struct pollfd watch(int descriptor, short events) {
  const struct pollfd entry = {events == 0 ? -1 : descriptor, events, 0};
  return entry;
}

static void serve_connection(kiv_connection* connection, short in, short out) {
  if (in != 0) kiv_connection_read(connection, kiv_board_now_ms());
  // Straight on with what was just answered: one turn of the loop less for each request.
  if (out != 0 || kiv_connection_wants_out(connection) != 0) kiv_connection_write(connection);
}

static void remove_finished(kiv_program* program) {
  const int64_t now_ms = kiv_board_now_ms();
  for (int i = kMaxConnections - 1; i >= 0; --i) {
    const kiv_connection* connection = program->connections[i];
    if (connection == NULL || !kiv_connection_is_finished(connection, now_ms)) continue;
    remove_connection(program, i);
    if (!kiv_transport_host_gone(&program->transport, now_ms)) program->stop = true;
  }
}

// How long poll may wait: for ever, unless a connection is only being flushed.
static int patience_ms(const kiv_program* program) {
  for (int i = 0; i < kMaxConnections; ++i) {
    if (program->connections[i] != NULL && program->connections[i]->input_ended) return 50;
  }
  return -1;
}

static void turn(kiv_program* program) {
  struct pollfd entries[kPollMax];
  entries[0] = watch(program->signals, POLLIN);
  entries[1] = watch(program->timer, POLLIN);
  const int ports = kPollFixed + kiv_transport_watch(&program->transport, entries + kPollFixed);
  const int first = ports + kiv_channel_set_watch(&program->channels, entries + ports);
  int count = first;
  kiv_connection* served[kMaxConnections];
  int served_count = 0;
  for (int i = 0; i < kMaxConnections && program->connections[i] != NULL; ++i) {
    kiv_connection* connection = program->connections[i];
    served[served_count++] = connection;
    entries[count++] = watch(connection->in, kiv_connection_wants_in(connection));
    entries[count++] = watch(connection->out, kiv_connection_wants_out(connection));
  }
  if (poll(entries, (nfds_t)count, patience_ms(program)) < 0) {
    if (errno != EINTR) program->stop = true;
    return;
  }
  if (entries[0].revents != 0) program->stop = true;
  if (entries[1].revents != 0) {
    drain(program->timer);
    send_due(program);
  }
  for (int i = 0; i < served_count; ++i) {
    serve_connection(served[i], entries[first + 2 * i].revents, entries[first + 2 * i + 1].revents);
  }
  kiv_channel_set_serve(&program->channels, entries + ports, kiv_board_now_ms());
  kiv_transport_serve(&program->transport, entries + kPollFixed, kiv_board_now_ms());
  remove_finished(program);
  send_of_fault(program);
  set_timer(program);
}

static bool open_descriptors(kiv_program* program) {
  sigset_t ends;
  sigemptyset(&ends);
  sigaddset(&ends, SIGTERM);
  sigaddset(&ends, SIGINT);
  sigaddset(&ends, SIGHUP);
  (void)pthread_sigmask(SIG_BLOCK, &ends, NULL);
  struct sigaction ignore;
  memset(&ignore, 0, sizeof ignore);
  ignore.sa_handler = SIG_IGN;
  (void)sigaction(SIGPIPE, &ignore, NULL);
  program->signals = signalfd(-1, &ends, SFD_CLOEXEC | SFD_NONBLOCK);
  program->timer = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
  return program->signals >= 0 && program->timer >= 0;
}

static void close_all(kiv_program* program) {
  while (program->connections[0] != NULL) remove_connection(program, 0);
  kiv_channel_set_close(&program->channels);
  kiv_transport_close(&program->transport);
  kiv_board_destroy(&program->board);
  if (program->signals >= 0) close(program->signals);
  if (program->timer >= 0) close(program->timer);
}

int kiv_program_run(const kiv_options* options) {
  kiv_program program;
  memset(&program, 0, sizeof program);
  program.timer = -1;
  program.signals = -1;
  program.options = options;
  const bool board = set_up_board(&program);
  const bool ports = set_up_channels(&program);
  set_up_agent(&program);
  const bool open = board && ports && open_descriptors(&program) &&
                    kiv_transport_open(&program.transport, options, take_new_host, &program) &&
                    !program.stop;
  if (open) set_timer(&program);
  while (open && !program.stop) turn(&program);
  close_all(&program);
  return open ? 0 : 1;
}
