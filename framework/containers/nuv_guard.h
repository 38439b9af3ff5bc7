#pragma once

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

// Runs a container operation. Whatever it throws becomes NUV_ERROR under `method`, and the answer
// is then `failed`; a lack of memory has been raised before that and stands as the first error.
template <class Result, class Operation>
[[nodiscard]] Result guarded(NUV_Manager& manager, const char* method, Result failed,
                             Operation&& operation)
{
    try {
        return operation();
    } catch (...) {
        fail(manager, NUV_ERROR, method);
        return failed;
    }
}

} // namespace nuv
