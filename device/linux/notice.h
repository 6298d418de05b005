// What the agent tells people: lines on its standard error, each with its level.
//
// A line that a full pipe would not take at once is left out: a host that does not read its child's
// notices cannot hold the agent up.
//
// Threads: one. Owns or borrows: nothing. Errors: none.
#ifndef DEVICE_LINUX_NOTICE_H_
#define DEVICE_LINUX_NOTICE_H_

#ifdef __cplusplus
extern "C" {
#endif

// Each level includes those before it. The numbers are those of the catalogue.
typedef enum kiv_notice_level {
  KIV_NOTICE_ERROR = 0,
  KIV_NOTICE_WARNING = 1,
  KIV_NOTICE_NOTICE = 2,
  KIV_NOTICE_DEBUG = 3
} kiv_notice_level;

// The level at start is KIV_NOTICE_NOTICE.
void kiv_notice_set_level(kiv_notice_level level);
kiv_notice_level kiv_notice_get_level(void);

#if defined(__GNUC__)
#define KIV_NOTICE_FORMAT __attribute__((format(printf, 2, 3)))
#else
#define KIV_NOTICE_FORMAT
#endif
// The program's name and the line's end are added; a line is cut at 4,000 bytes.
void kiv_notice(kiv_notice_level level, const char* format, ...) KIV_NOTICE_FORMAT;

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_NOTICE_H_
