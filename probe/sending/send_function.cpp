#include "probe/sending/send_function.h"

#include <atomic>

namespace {
std::atomic<SalSendByCon> installed{nullptr};
}  // namespace

SalSendByCon GetSalSendByCon() {
  return installed.load();
}

void probe::InstallSendFunction(SalSendByCon send) {
  installed.store(send);
}
