/* The catalogue "small", written by kivcat header. Do not edit. */
#ifndef KIV_CATALOGUE_SMALL_H
#define KIV_CATALOGUE_SMALL_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define KIV_CATALOGUE_ASSERT(what, name) static_assert(what, name)
#define KIV_CATALOGUE_ALIGN8 alignas(8)
#else
#define KIV_CATALOGUE_ASSERT(what, name) _Static_assert(what, name)
#define KIV_CATALOGUE_ALIGN8 _Alignas(8)
#endif

#define KIV_CATALOGUE_NAME "small"
#define KIV_CATALOGUE_FINGERPRINT UINT64_C(0xc78f6743e516d7d7)
#define KIV_CATALOGUE_FINGERPRINT_BYTES {0xc7, 0x8f, 0x67, 0x43, 0xe5, 0x16, 0xd7, 0xd7}
#define KIV_CATALOGUE_COMMAND_COUNT 2u

/* a * / level */
typedef int8_t kiv_level;
#define KIV_LEVEL_LOW ((kiv_level)-1)  /* down */
#define KIV_LEVEL_HIGH ((kiv_level)1)

/* where */
#pragma pack(push, 8)
typedef struct kiv_point {
  uint8_t x;
  KIV_CATALOGUE_ALIGN8 int64_t y;
} kiv_point;
#pragma pack(pop)
#define KIV_POINT_BYTES 16u
#define KIV_POINT_DEFAULT {7, INT64_C(0)}
KIV_CATALOGUE_ASSERT(sizeof(kiv_point) == 16, "kiv_point");
KIV_CATALOGUE_ASSERT(offsetof(kiv_point, x) == 0, "kiv_point.x");
KIV_CATALOGUE_ASSERT(offsetof(kiv_point, y) == 8, "kiv_point.y");

#define KIV_NONE_BYTES 0u

#pragma pack(push, 1)
typedef struct kiv_set {
  kiv_level level;
  kiv_point points[2];  /* both */
  char text[4];
} kiv_set;
#pragma pack(pop)
#define KIV_SET_BYTES 37u
#define KIV_SET_DEFAULT {-1, {{7, INT64_C(0)}, {7, INT64_C(0)}}, {97, 34, 98}}
KIV_CATALOGUE_ASSERT(sizeof(kiv_set) == 37, "kiv_set");
KIV_CATALOGUE_ASSERT(offsetof(kiv_set, level) == 0, "kiv_set.level");
KIV_CATALOGUE_ASSERT(offsetof(kiv_set, points) == 1, "kiv_set.points");
KIV_CATALOGUE_ASSERT(offsetof(kiv_set, text) == 33, "kiv_set.text");

#define KIV_CMD_TELL 0x10u
#define KIV_CMD_TELL_NAME "tell"
#define KIV_CMD_TELL_IND_BYTES 16u
typedef kiv_point kiv_cmd_tell_ind;

/* puts */
#define KIV_CMD_PUT 0x20u
#define KIV_CMD_PUT_NAME "put"
#define KIV_CMD_PUT_REQ_BYTES 37u
typedef kiv_set kiv_cmd_put_req;
#define KIV_CMD_PUT_CNF_BYTES 0u

/* X(name, NAME, id) for each command. */
#define KIV_COMMANDS(X) \
  X(tell, TELL, 0x10u) \
  X(put, PUT, 0x20u)

#endif
