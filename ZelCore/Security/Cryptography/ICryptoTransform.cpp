#include "ZelCore/Security/Cryptography/ICryptoTransform.h"

namespace ZelCore::Security::Cryptography {

ICryptoTransform::~ICryptoTransform() = default;

} // namespace ZelCore::Security::Cryptography
