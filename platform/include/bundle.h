/* Bundle: a string-keyed dictionary that can cross a port. */
#ifndef BUNDLE_H
#define BUNDLE_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _bundle_t bundle;

typedef enum {
    BUNDLE_ERROR_NONE = 0,
    BUNDLE_ERROR_OUT_OF_MEMORY = -12,
    BUNDLE_ERROR_INVALID_PARAMETER = -22,
    BUNDLE_ERROR_KEY_NOT_AVAILABLE = -126,
    BUNDLE_ERROR_KEY_EXISTS = (int)0xFEE80001
} bundle_error_e;

bundle* bundle_create(void);
int bundle_free(bundle* b);
bundle* bundle_dup(bundle* b);
int bundle_get_count(bundle* b);
int bundle_add_str(bundle* b, const char* key, const char* str); /* never replaces: KEY_EXISTS */
int bundle_get_str(bundle* b, const char* key, char** str);      /* borrowed from the bundle   */
int bundle_add_str_array(bundle* b, const char* key, const char** strs, const int len);
const char** bundle_get_str_array(bundle* b, const char* key, int* len); /* borrowed; NULL when absent */
int bundle_add_byte(bundle* b, const char* key, const void* bytes, const size_t size);
int bundle_get_byte(bundle* b, const char* key, void** bytes, size_t* size); /* borrowed */

#ifdef __cplusplus
}
#endif

#endif
