#pragma once

namespace probe {

/// Has the websocket library's own complaints come into our log from now on, within a fresh `LineBudget`: it complains
/// about what strangers send, too.
///
/// Threads: any.
void TakeOverLibraryLog();

}  // namespace probe
