#pragma once

namespace CLI {
class App;
}

namespace Zel {

/// Adds `zel resolve` and `zel local`.
void AddNetCommands(CLI::App& app);

} // namespace Zel
