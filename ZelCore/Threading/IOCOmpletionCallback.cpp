#include "ZelCore/Threading/IOCOmpletionCallback.h"

namespace ZelCore::Threading {

CIOCOmpletionCallback::CIOCOmpletionCallback() noexcept : OVERLAPPED{} {}

CIOCOmpletionCallback::~CIOCOmpletionCallback() = default;

} // namespace ZelCore::Threading
