#include "ZelCore/AsyncCallback.h"

namespace ZelCore {

CAsyncCallback::CAsyncCallback() = default;

CAsyncCallback::~CAsyncCallback() = default;

} // namespace ZelCore
