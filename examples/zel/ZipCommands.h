#pragma once

namespace CLI {
class App;
}

namespace Zel {

/// Adds `zel zip create|list|extract|test|add|update|delete`.
void AddZipCommands(CLI::App& app);

} // namespace Zel
