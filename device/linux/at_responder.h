// A modem without a modem: reads AT command lines as ITU-T V.250 lays them out and answers them
// from a table, so that a board without one has something to talk to. Portable; knows no
// descriptors.
//
// A line begins at "AT" (any case) and ends at the character of S3; what stands before is skipped,
// and blanks and control characters outside of strings count for nothing. Basic commands follow one
// another directly, extended ones (+NAME, ^NAME) end at ';'. The first that fails ends the line,
// and one result stands for all of it. "A/" runs the line before once more, without S3.
//
// Threads: none of its own; an object belongs to one thread.
// Owns or borrows: borrows what it is set up with. Errors: told to the user, as a modem does.
#ifndef DEVICE_LINUX_AT_RESPONDER_H_
#define DEVICE_LINUX_AT_RESPONDER_H_

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_AT_LINE_BYTES 1024u  // of a line behind its "AT"; a longer one is an error
#define KIV_AT_REGISTERS 13      // S0 to S12

typedef void (*kiv_at_out_fn)(void* context, const char* bytes, size_t length_bytes);

// Who the modem says it is. The texts outlive the responder.
typedef struct kiv_at_identity {
  const char* manufacturer;
  const char* model;
  const char* revision;
  const char* serial_number;
} kiv_at_identity;

// Commands that keep a number.
typedef enum kiv_at_value {
  KIV_AT_ECHO,
  KIV_AT_QUIET,
  KIV_AT_VERBOSE,
  KIV_AT_EXTENT,  // ATX
  KIV_AT_LOUDNESS,
  KIV_AT_SPEAKER,
  KIV_AT_CARRIER,   // AT&C
  KIV_AT_TERMINAL,  // AT&D
  KIV_AT_CMEE,
  KIV_AT_CFUN,
  KIV_AT_CREG,
  KIV_AT_CGREG,
  KIV_AT_CEREG,
  KIV_AT_CGATT,
  KIV_AT_COPS_MODE,
  KIV_AT_COPS_FORMAT,
  KIV_AT_CSCS,
  KIV_AT_CMGF,
  KIV_AT_CLIP,
  KIV_AT_CRC,
  KIV_AT_IPR,
  KIV_AT_VALUES
} kiv_at_value;

// All that ATZ and AT&F bring back.
typedef struct kiv_at_profile {
  uint8_t registers[KIV_AT_REGISTERS];
  uint32_t values[KIV_AT_VALUES];
} kiv_at_profile;

typedef enum kiv_at_state { KIV_AT_WANTS_A, KIV_AT_WANTS_T, KIV_AT_IN_LINE } kiv_at_state;

typedef struct kiv_at_responder {
  kiv_at_identity self;
  kiv_at_out_fn out;
  void* context;
  kiv_at_profile now;
  kiv_at_profile stored;  // by AT&W
  kiv_at_state state;
  bool too_long;
  char line[KIV_AT_LINE_BYTES + 1];
  uint32_t line_used;
  char work[KIV_AT_LINE_BYTES + 1];  // the line while it runs, taken to pieces
  char pending[512];                 // of output
  uint32_t pending_used;
} kiv_at_responder;

void kiv_at_init(kiv_at_responder* responder, const kiv_at_identity* self, kiv_at_out_fn out,
                 void* context);
// Takes bytes in pieces of any length. Echo and answers go out before it returns.
void kiv_at_feed(kiv_at_responder* responder, const uint8_t* bytes, size_t length_bytes);

// For the commands of the table.
// Results of a command: these, or the number of a "+CME ERROR".
#define KIV_AT_OK 0
#define KIV_AT_ERROR (-1)
#define KIV_AT_NO_CARRIER (-2)

// An information text: a line of its own.
void kiv_at_tell(kiv_at_responder* responder, const char* text);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_AT_RESPONDER_H_
