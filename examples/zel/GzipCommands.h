#pragma once

namespace CLI {
class App;
}

namespace Zel {

/// Adds `zel gzip` and `zel gunzip`.
void AddGzipCommands(CLI::App& app);

} // namespace Zel
