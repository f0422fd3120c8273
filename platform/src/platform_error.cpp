// The last result of a thread, and the text of an error.
#include "exports.hpp"

#include <cstring>

namespace {
constinit thread_local int last_result = 0;
}

void set_last_result(int result)
{
    last_result = result;
}

int get_last_result(void)
{
    return last_result;
}

char* get_error_message(int error)
{
    const char* text = nullptr;
    if (error == 0)
        text = "Successful";
    else if (error == BUNDLE_ERROR_KEY_EXISTS)
        text = "Key exists";
    else if (error == PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE)
        text = "No such package";
    else if (error < 0 && error > -4096)
        text = strerrordesc_np(-error);
    // The interface hands out plain text pointers; nobody may write through them.
    return const_cast<char*>(text != nullptr ? text : "Unknown error");
}
