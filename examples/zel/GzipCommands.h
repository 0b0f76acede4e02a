#pragma once

namespace CLI {
class App;
}

namespace Zel {

/// `zel gzip` and `zel gunzip`
void AddGzipCommands(CLI::App& app);

} // namespace Zel
