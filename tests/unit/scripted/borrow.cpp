// The platform's one optional function. It stands alone so that the tests can be linked with and without it.
#include "state.hpp"

int qv_port_parcel_borrow_string(rpc_port_parcel_h h, const char** str, int* length)
{
    using namespace scripted::detail;

    const Lock lock(state().mutex);
    const auto code = use(Function::qv_port_parcel_borrow_string);
    Parcel* const parcel = state().parcel(h, "qv_port_parcel_borrow_string");
    if (!parcel || !str || !length) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    if (code) {
        parcel->failed = true;
    }
    const std::string* const string = next_string(*parcel);
    *str = string ? string->c_str() : "";
    *length = string ? static_cast<int>(string->size()) : 0;
    return string ? RPC_PORT_ERROR_NONE : code.value_or(RPC_PORT_ERROR_IO_ERROR);
}
