#include "probe/sources/snmp/cell.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/reading.h"
#include "probe/sources/snmp/value.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace probe::snmp {
namespace {

Value Integer(std::int64_t number) {
  return {ValueType::kInteger, number};
}
Value Octets(std::string octets) {
  return {ValueType::kOctets, std::move(octets)};
}
Value Counter32(std::uint64_t number) {
  return {ValueType::kCounter32, number};
}

TEST(Cell, KeepsCountersWholeAndKnowsTheirWidth) {
  const std::uint64_t greatest = std::numeric_limits<std::uint64_t>::max();
  EXPECT_EQ(CounterOf(Decode({ValueType::kCounter64, greatest}, {})), (OctetCounter{greatest, true}));
  EXPECT_EQ(CounterOf(Decode(Counter32(4294967295U), {})), (OctetCounter{4294967295U, false}));
  EXPECT_EQ(CounterOf(Decode(Counter32(4294967296U), {})), std::nullopt) << "no agent may say this, a walk's file can";
}

TEST(Cell, TakesAPlainNumberForACounterOf32BitsWhereTheyHoldIt) {
  EXPECT_EQ(CounterOf(Decode(Integer(17), {})), (OctetCounter{17, false}));
  EXPECT_EQ(CounterOf(Decode(Integer(4294967295), {})), (OctetCounter{4294967295U, false}));
  EXPECT_EQ(CounterOf(Decode(Integer(4294967296), {})), std::nullopt);
  EXPECT_EQ(CounterOf(Decode(Integer(-1), {})), std::nullopt);
}

TEST(Cell, HasNothingForExceptions) {
  for (const ValueType type :
       {ValueType::kNoSuchObject, ValueType::kNoSuchInstance, ValueType::kEndOfMib, ValueType::kNull}) {
    EXPECT_FALSE(HasValue(Decode({type, {}}, {})));
  }
}

TEST(Cell, HasNothingWhereContentAndTypeContradictEachOther) {
  EXPECT_FALSE(HasValue(Decode({ValueType::kInteger, std::string("text")}, {})));
  EXPECT_FALSE(HasValue(Decode({ValueType::kCounter64, std::int64_t{1}}, {})));
  EXPECT_FALSE(HasValue(Decode({ValueType::kOctets, std::uint64_t{1}}, {})));
}

TEST(Cell, KeepsTextAsOctetsButForPaddingAtItsEnd) {
  EXPECT_EQ(TextOf(Decode(Octets(std::string("\xff\0b\0\0", 5)), {})), std::string("\xff\0b", 3));
}

TEST(Cell, WritesNumbersOutWithoutADecimalPoint) {
  EXPECT_EQ(TextOf(Cell(1000000.0)), "1000000");
  EXPECT_EQ(TextOf(Cell(4294967295.0)), "4294967295");
  EXPECT_EQ(TextOf(Cell(-95.0)), "-95");
  EXPECT_EQ(TextOf(Cell(0.5)), "0.5");
}

TEST(Cell, ReadsANumberAtTheBeginningOfAText) {
  EXPECT_EQ(NumberOf(Cell(std::string("-63 dBm"))), -63);
  EXPECT_EQ(NumberOf(Cell(std::string(" +2412/20-Ce/gn"))), 2412);
  EXPECT_EQ(NumberOf(Cell(std::string("dBm -63"))), std::nullopt);
  EXPECT_EQ(NumberOf(Cell(std::string("nan"))), std::nullopt);
  EXPECT_EQ(NumberOf(Cell(std::string("inf"))), std::nullopt);
  EXPECT_EQ(NumberOf(Cell(std::string())), std::nullopt);
}

TEST(Cell, RoundsToWholeNumbersThatFitIn32Bits) {
  EXPECT_EQ(IntegerOf(Cell(5.25)), 5);
  EXPECT_EQ(IntegerOf(Cell(-0.6)), -1);
  EXPECT_EQ(IntegerOf(Cell(2147483647.0)), 2147483647);
  EXPECT_EQ(IntegerOf(Cell(2147483648.0)), std::nullopt);
  EXPECT_EQ(IntegerOf(Cell(-2147483649.0)), std::nullopt);
}

TEST(Cell, DropsSentinels) {
  Decoding decoding;
  decoding.invalid = {"N/A", "161"};
  EXPECT_FALSE(HasValue(Decode(Octets("N/A"), decoding)));
  EXPECT_FALSE(HasValue(Decode(Integer(161), decoding)));
  EXPECT_EQ(NumberOf(Decode(Integer(160), decoding)), 160);
}

TEST(Cell, DropsNumbersOutsideTheirRange) {
  Decoding decoding;
  decoding.least = -120;
  decoding.greatest = -1;
  EXPECT_FALSE(HasValue(Decode(Integer(-121), decoding)));
  EXPECT_EQ(NumberOf(Decode(Integer(-120), decoding)), -120);
  EXPECT_EQ(NumberOf(Decode(Integer(-1), decoding)), -1);
  EXPECT_FALSE(HasValue(Decode(Integer(0), decoding)));
  EXPECT_FALSE(HasValue(Decode(Octets("loud"), decoding))) << "no number is in no range";
}

TEST(Cell, ChecksTheRangeOfACounterAndLeavesItOne) {
  Decoding decoding;
  decoding.greatest = 100;
  EXPECT_EQ(CounterOf(Decode({ValueType::kCounter64, std::uint64_t{100}}, decoding)), (OctetCounter{100, true}));
  EXPECT_FALSE(HasValue(Decode({ValueType::kCounter64, std::uint64_t{101}}, decoding)));
}

TEST(Cell, ScalesBeforeItChecksTheRange) {
  Decoding decoding;
  decoding.scale = -1;
  decoding.add = 100;
  decoding.least = 0;
  decoding.greatest = 100;
  EXPECT_EQ(NumberOf(Decode(Integer(73), decoding)), 27);
  EXPECT_FALSE(HasValue(Decode(Integer(101), decoding)));
}

TEST(Cell, ReadsASignedOctetThatCameAsUnsigned) {
  Decoding decoding;
  decoding.bits = 8;
  decoding.is_signed = true;
  EXPECT_EQ(NumberOf(Decode(Integer(161), decoding)), -95);
  EXPECT_EQ(NumberOf(Decode(Integer(127), decoding)), 127);
  EXPECT_EQ(NumberOf(Decode(Integer(128), decoding)), -128);
  EXPECT_EQ(NumberOf(Decode(Integer(-95), decoding)), -95);
}

TEST(Cell, TakesTheLowestBitsOfANumber) {
  Decoding decoding;
  decoding.bits = 8;
  EXPECT_EQ(NumberOf(Decode(Integer(388), decoding)), 132);
  EXPECT_EQ(NumberOf(Decode(Integer(36), decoding)), 36);
}

TEST(Cell, TakesWhatAPatternFindsAndNothingElse) {
  Decoding decoding;
  decoding.pattern.emplace("MODEL: ([^)]+)");
  EXPECT_EQ(TextOf(Decode(Octets("OS (MODEL: 7010), Version 8"), decoding)), "7010");
  EXPECT_FALSE(HasValue(Decode(Octets("OS Version 8"), decoding)));
}

TEST(Cell, ReplacesValuesByWhatTheyStandFor) {
  Decoding decoding;
  decoding.meanings = {{"1", "5 GHz"}, {"ng", "2.4 GHz"}};
  EXPECT_EQ(TextOf(Decode(Integer(1), decoding)), "5 GHz");
  EXPECT_EQ(TextOf(Decode(Octets("ng"), decoding)), "2.4 GHz");
  EXPECT_EQ(TextOf(Decode(Octets("other"), decoding)), "other");
}

TEST(Cell, ReadsMacAddressesInAnyUsualNotation) {
  const std::string mac = "00:00:5e:00:53:af";
  for (const char* const text :
       {"00:00:5E:00:53:AF", "00-00-5e-00-53-af", "0000.5e00.53af", "0000:5e00:53af", "00005E0053AF"}) {
    EXPECT_EQ(MacText(text), mac) << text;
  }
  EXPECT_EQ(MacText(std::string("\x00\x00\x5e\x00\x53\xaf", 6)), mac);
}

TEST(Cell, HasNoMacAddressForWhatIsNobodys) {
  for (const std::string& text :
       {std::string(), std::string("00:00:00:00:00:00"), std::string(6, '\0'), std::string("ff:ff:ff:ff:ff:ff"),
        std::string("01:00:5e:00:00:01"), std::string("00:00:5e:00:53"), std::string("00:00:5e:00:53:af:01"),
        std::string("00:00:5e:00:53:ag"), std::string("(null)"), std::string("<NONE>")}) {
    EXPECT_EQ(MacText(text), "") << text;
  }
  EXPECT_EQ(MacText("(a1bc)"), "28:61:31:62:63:29") << "six octets like others";
}

TEST(Cell, TellsAddressesOfMakersFromThoseOfSoftware) {
  Decoding decoding;
  decoding.form = CellForm::kUniversalMac;
  EXPECT_EQ(TextOf(Decode(Octets("00:00:5e:00:53:01"), decoding)), "00:00:5e:00:53:01");
  EXPECT_FALSE(HasValue(Decode(Octets("02:00:5e:00:53:01"), decoding)));
}

TEST(Cell, FindsTheMacAddressInAnEngineIdOfThatFormatOnly) {
  Decoding decoding;
  decoding.form = CellForm::kEngineId;
  const std::string maker("\x80\x00\x1f\x88", 4);
  const std::string mac("\x00\x00\x5e\x00\x53\x01", 6);
  EXPECT_EQ(TextOf(Decode(Octets(maker + '\x03' + mac), decoding)), "00:00:5e:00:53:01");
  EXPECT_FALSE(HasValue(Decode(Octets(maker + '\x04' + mac), decoding)));
  EXPECT_FALSE(HasValue(Decode(Octets(maker + '\x03' + mac + "x"), decoding)));
  EXPECT_FALSE(HasValue(Decode(Octets('\x00' + maker.substr(1) + '\x03' + mac), decoding)));
  EXPECT_FALSE(HasValue(Decode(Octets(""), decoding)));
}

/// The parts of an index, as texts; nothing where one does not fit or numbers are left.
std::optional<std::vector<std::string>> Parts(const std::vector<IndexForm>& forms, const Oid& index) {
  std::basic_string_view<std::uint32_t> numbers(index.data(), index.size());
  std::vector<std::string> texts;
  for (const IndexForm form : forms) {
    const std::optional<Cell> cell = TakeIndexPart(form, {}, numbers);
    if (!cell) return std::nullopt;
    texts.push_back(TextOf(*cell));
  }
  if (!numbers.empty()) return std::nullopt;
  return texts;
}

TEST(Cell, ReadsThePartsOfAnIndexOneAfterTheOther) {
  using Texts = std::vector<std::string>;
  EXPECT_EQ(Parts({IndexForm::kNumber, IndexForm::kMac}, {7, 0, 0, 94, 0, 83, 1}), (Texts{"7", "00:00:5e:00:53:01"}));
  EXPECT_EQ(Parts({IndexForm::kText, IndexForm::kNumber}, {3, 'a', 'b', 'c', 4294967295U}),
            (Texts{"abc", "4294967295"}));
  EXPECT_EQ(Parts({IndexForm::kAddress, IndexForm::kRest}, {192, 0, 2, 1, 'x', 'y'}), (Texts{"192.0.2.1", "xy"}));
  EXPECT_EQ(Parts({IndexForm::kText}, {0}), Texts{""});
}

TEST(Cell, RefusesAnIndexThatDoesNotFit) {
  EXPECT_EQ(Parts({IndexForm::kNumber}, {}), std::nullopt);
  EXPECT_EQ(Parts({IndexForm::kMac}, {0, 0, 94, 0, 83}), std::nullopt);
  EXPECT_EQ(Parts({IndexForm::kMac}, {0, 0, 94, 0, 83, 256}), std::nullopt);
  EXPECT_EQ(Parts({IndexForm::kAddress}, {192, 0, 2}), std::nullopt);
  EXPECT_EQ(Parts({IndexForm::kText}, {}), std::nullopt);
  EXPECT_EQ(Parts({IndexForm::kText}, {4, 'a', 'b', 'c'}), std::nullopt);
  EXPECT_EQ(Parts({IndexForm::kText}, {4294967295U, 'a'}), std::nullopt);
  EXPECT_EQ(Parts({IndexForm::kText}, {2, 'a', 'b', 'c'}), std::nullopt) << "a number is left";
}

TEST(Cell, ReadsAMacAddressWrittenOutInAnIndex) {
  Decoding decoding;
  decoding.form = CellForm::kMac;
  Oid index = {12};
  for (const char character : std::string("00005e005301")) index.push_back(static_cast<unsigned char>(character));
  std::basic_string_view<std::uint32_t> numbers(index.data(), index.size());
  const std::optional<Cell> cell = TakeIndexPart(IndexForm::kText, decoding, numbers);
  ASSERT_TRUE(cell.has_value());
  EXPECT_EQ(TextOf(*cell), "00:00:5e:00:53:01");
}

}  // namespace
}  // namespace probe::snmp
