#include "probe/sources/snmp/worker_threads.h"

#include <system_error>
#include <utility>

namespace probe::snmp {

namespace {

// Enough for the system's resolver and the library's parser, which take the most.
constexpr std::size_t kStackSize = 512UL * 1024;

void* RunWorker(void* function) {
  (*static_cast<std::function<void()>*>(function))();
  return nullptr;
}

}  // namespace

WorkerThreads::~WorkerThreads() {
  Join();
}

void WorkerThreads::Start(std::size_t count, std::function<void()> run) {
  run_ = std::move(run);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, kStackSize);
  int error = 0;
  while (threads_.size() < count && error == 0) {
    pthread_t thread{};
    error = pthread_create(&thread, &attributes, &RunWorker, &run_);
    if (error == 0) threads_.push_back(thread);
  }
  pthread_attr_destroy(&attributes);
  if (threads_.empty() && error != 0) throw std::system_error(error, std::generic_category(), "no thread for SNMP");
}

void WorkerThreads::Join() {
  for (const pthread_t thread : threads_) pthread_join(thread, nullptr);
  threads_.clear();
}

}  // namespace probe::snmp
