#pragma once

namespace CLI {
class App;
}

namespace Zel {

/// Adds `zel config show` and `zel config check`.
void AddConfigCommands(CLI::App& app);

} // namespace Zel
