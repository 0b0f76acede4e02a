#pragma once

namespace CLI {
class App;
}

namespace Zel {

/// `zel config show`
void AddConfigCommands(CLI::App& app);

} // namespace Zel
