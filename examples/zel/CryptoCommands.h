#pragma once

namespace CLI {
class App;
}

namespace Zel {

/// Adds `zel keygen`, `encrypt`, `decrypt`, `hash`, `protect`, `unprotect`, `container`, `sign` and `verify`.
void AddCryptoCommands(CLI::App& app);

} // namespace Zel
