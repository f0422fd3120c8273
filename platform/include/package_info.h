/* Package information: which packages are installed, and in which version. */
#ifndef PACKAGE_INFO_H
#define PACKAGE_INFO_H

#ifdef __cplusplus
extern "C" {
#endif

typedef void* package_info_h;
#define PACKAGE_MANAGER_ERROR_NONE 0
#define PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE ((int)0xFEEB0071)

int package_info_create(const char* package_id, package_info_h* info);
int package_info_get_version(package_info_h info, char** version); /* heap copy, caller frees */
int package_info_destroy(package_info_h info);

#ifdef __cplusplus
}
#endif

#endif
