#pragma once

namespace test {

/// Lets one JSON allocation of this thread fail, once for as long as it lives. Needs `json_shortage.cpp` among the
/// sources of the executable, whose symbols stand before those of json-c.
class JsonShortage {
 public:
  enum class Of { kArrays, kObjects };

  /// The allocation of this kind that fails is that after the first `spared` ones.
  explicit JsonShortage(Of kind, int spared = 0);
  ~JsonShortage();
  JsonShortage(const JsonShortage&) = delete;
  JsonShortage& operator=(const JsonShortage&) = delete;
};

}  // namespace test
