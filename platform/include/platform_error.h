/* Last result of a thread, and the text of an error. */
#ifndef PLATFORM_ERROR_H
#define PLATFORM_ERROR_H

#ifdef __cplusplus
extern "C" {
#endif

void set_last_result(int result); /* per thread */
int get_last_result(void);
char* get_error_message(int error); /* static text, not freed */

#ifdef __cplusplus
}
#endif

#endif
