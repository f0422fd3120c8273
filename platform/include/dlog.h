/* Log service. */
#ifndef DLOG_H
#define DLOG_H

#ifdef __cplusplus
extern "C" {
#endif

typedef enum { DLOG_VERBOSE = 2, DLOG_DEBUG = 3, DLOG_INFO = 4, DLOG_WARN = 5, DLOG_ERROR = 6 } log_priority;
int dlog_print(log_priority prio, const char* tag, const char* fmt, ...);

#ifdef __cplusplus
}
#endif

#endif
