#include <quorvel_client_udo.h>

#include "internal/parameters.hpp"

using namespace quorvel;

// A failed condition is left at the line of the check itself in both functions, which is meant so.

int quorvel_client_get_udo_upload_url(quorvel_client_h handle, const char* first, const char* second,
                                      const char* third, int content_length, char** first_url,
                                      char** second_url)
{
    ApiCall call{handle};
    call.agent_told_once(1, 6)
        .require(is_set(first) && is_set(second) && is_set(third))
        .require(first_url != nullptr && second_url != nullptr);
    if (call.ok() && content_length < 1)
        call.fail(QUORVEL_CLIENT_ERROR_INVALID_PARAMETER, QC_TEXT("content_length is invalid[%d]"),
                  content_length);
    return call
        .invoke(METHOD(get_udo_upload_url), first, second, third, content_length, text_out(first_url),
                text_out(second_url))
        .result();
}

int quorvel_client_get_udo_download_url(quorvel_client_h handle, const char* first, const char* second,
                                        const char* third, char** url)
{
    return ApiCall{handle}
        .agent_told_once(1, 6)
        .require(is_set(first) && is_set(second) && is_set(third) && url != nullptr)
        .invoke(METHOD(get_udo_download_url), first, second, third, text_out(url))
        .result();
}
