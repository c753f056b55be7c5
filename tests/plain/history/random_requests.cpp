#include "tests/plain/history/random_requests.h"

#include <json-c/json.h>

#include <memory>

#include "tests/plain/history/names.h"

namespace history {
namespace {

std::string Quoted(const std::string& text) {
  const std::unique_ptr<json_object, decltype(&json_object_put)> value(
      json_object_new_string_len(text.data(), static_cast<int>(text.size())), &json_object_put);
  return json_object_to_json_string(value.get());
}

/// A value of another type than is asked for.
std::string Odd(Dice& dice) {
  return dice.OneOf<std::string>({"null", "17", "-1.5", "true", "{}", "[]", "[\"a\"]", R"({"a": "b"})", "\"\"",
                                  "\"c\\u0000ut\"", "99999999999", "1e400", "\"\\ud83d\""});
}

std::string TextOrOdd(Dice& dice, const std::string& text) {
  return dice.Percent(8) ? Odd(dice) : Quoted(text);
}

/// `{"count", "orderby", "flag"}`, each at times left out.
std::string Ranking(Dice& dice) {
  static const std::vector<std::string> kOrders{"in", "out", "total", "in", "out", "total", "clients", ""};
  static const std::vector<std::string> kFlags{"desc", "asc", "", "DESC"};
  std::string text = "{";
  if (!dice.Percent(10)) {
    text += "\"count\": " + (dice.Percent(8) ? Odd(dice) : std::to_string(dice.Below(9) - 2));
    text += ", ";
  }
  if (!dice.Percent(10)) text += "\"orderby\": " + TextOrOdd(dice, dice.OneOf(kOrders)) + ", ";
  return text + "\"flag\": " + TextOrOdd(dice, dice.OneOf(kFlags)) + "}";
}

std::string TopFilter(Dice& dice) {
  std::string text = "{";
  for (const char* part : {"access_point", "wireless_networks", "wireless_clients"}) {
    if (dice.Percent(12)) continue;
    if (text.size() > 1) text += ", ";
    text += "\"" + std::string(part) + "\": ";
    text += dice.Percent(6) ? Odd(dice) : R"({"traffic": )" + Ranking(dice) + R"(, "clients": )" + Ranking(dice) + "}";
  }
  return text + "}";
}

std::string ViewFilter(Dice& dice, const std::vector<std::string>& macs) {
  std::string text = "{";
  if (!dice.Percent(15)) text += "\"interval\": " + TextOrOdd(dice, dice.OneOf(names::Views()));
  if (dice.Percent(45)) {
    if (text.size() > 1) text += ", ";
    text += "\"mac\": " + TextOrOdd(dice, dice.Percent(80) ? dice.OneOf(macs) : dice.OneOf(names::HostileMacs()));
  }
  return text + "}";
}

}  // namespace

std::string SubscriptionRequest(Dice& dice, bool is_top, const std::vector<std::string>& macs) {
  static const std::vector<std::string> kSids{"a", "a", "b", "c", "", "\xff", "d\te"};
  if (dice.Percent(4)) return Odd(dice);
  std::string text = "[";
  for (int count = dice.Below(4); count > 0; --count) {
    if (text.size() > 1) text += ", ";
    if (dice.Percent(4)) {
      text += Odd(dice);
      continue;
    }
    text += "{";
    if (!dice.Percent(5)) text += "\"sid\": " + TextOrOdd(dice, dice.OneOf(kSids)) + ", ";
    text += "\"filter\": " + (dice.Percent(4) ? Odd(dice) : is_top ? TopFilter(dice) : ViewFilter(dice, macs)) + "}";
  }
  return text + "]";
}

std::string ReportRequest(Dice& dice, const std::vector<std::string>& periods) {
  static const std::vector<std::string> kTypes{"daily", "daily", "weekly", "weekly", "Daily", "WEEKLY", "", "monthly"};
  if (dice.Percent(3)) return dice.OneOf<std::string>({"", "{", "not JSON", "[]", "17", "null", "\"daily\""});
  const std::string period = periods.empty() || dice.Percent(6) ? "2000-01-01" : dice.OneOf(periods);
  std::string text = "{";
  if (!dice.Percent(4)) text += "\"report_type\": " + TextOrOdd(dice, dice.OneOf(kTypes)) + ", ";
  return text + "\"period\": " + TextOrOdd(dice, period) + "}";
}

}  // namespace history
