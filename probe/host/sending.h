#pragma once

#include "platform/sending.h"

namespace probe {

/// Makes `send` what `GetSalSendByCon` gives from now on; null: nothing is installed and messages are dropped.
///
/// Threads: any. A call through the function installed before may still be under way when this returns.
void InstallSendFunction(SalSendByCon send);

}  // namespace probe
