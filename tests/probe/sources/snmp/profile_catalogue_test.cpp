#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/profile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/test_folder.h"

namespace probe::snmp {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

/// The whole error of a profile, "bad.toml:3: ..."; empty for one that is right.
std::string ErrorOf(const std::string& text) {
  try {
    ParseProfile(text, "bad", "bad.toml", {});
    return {};
  } catch (const ProfileError& error) {
    return error.what();
  }
}

/// A profile that is right, for others to go wrong in one place.
const std::string kTables =
    "title = 'Example'\n"                                                 // 1
    "[objects]\n"                                                         // 2
    "busy = '1.3.6.1.4.1.32473.1.0'\n"                                    // 3
    "[tables.ports]\n"                                                    // 4
    "index = ['index']\n"                                                 // 5
    "[tables.ports.columns]\n"                                            // 6
    "name = '1.3.6.1.4.1.32473.2.1.1'\n"                                  // 7
    "octets = '1.3.6.1.4.1.32473.2.1.2'\n"                                // 8
    "kilooctets = { oid = '1.3.6.1.4.1.32473.2.1.3', scale = 1000 }\n"    // 9
    "[tables.cells]\n"                                                    // 10
    "index = [{ name = 'port', refers_to = 'ports.index' }, 'number']\n"  // 11
    "columns = { ssid = '1.3.6.1.4.1.32473.3.1.1' }\n";                   // 12

TEST(ProfileCatalogue, TakesAProfileThatIsRight) {
  EXPECT_EQ(ErrorOf(kTables + "[[ssid]]\ntable = 'cells'\nssid = 'ssid'\nname = 'port.name'\nin = 'port.octets'\n"),
            "");
}

struct Mistake {
  std::string text;   // behind kTables, from line 13 on
  std::string error;  // what its only error begins with
};

class MistakeTest : public testing::TestWithParam<Mistake> {};

TEST_P(MistakeTest, IsToldWithLineKeyAndWhatIsAllowed) {
  const std::string error = ErrorOf(kTables + GetParam().text);
  EXPECT_THAT(error, StartsWith(GetParam().error));
  EXPECT_EQ(error.find('\n'), std::string::npos) << error;
}

INSTANTIATE_TEST_SUITE_P(
    ProfileCatalogue, MistakeTest,
    testing::Values(
        Mistake{"colums = { x = '1.3' }\n",
                "bad.toml:13: tables.cells.colums: \"colums\" is not a key of tables.cells; did you mean \"columns\"?; "
                "allowed: \"index\", \"columns\", \"only_if\" or \"skip_if\""},
        Mistake{"[devices]\ncpu = 'busy'\n",
                "bad.toml:13: devices: \"devices\" is not a key of a profile; did you mean \"device\"?; allowed: "},
        Mistake{"[device]\ncpu = 'bsy'\n",
                "bad.toml:14: device.cpu: \"bsy\" is not an object; did you mean \"busy\"?; allowed: \"busy\""},
        Mistake{"[device]\nload = 'busy'\n", "bad.toml:14: device.load: \"load\" is not a key of device; allowed: "},
        Mistake{"[device]\ncpu = { mean = 'port.name' }\n",
                "bad.toml:14: device.cpu.mean: \"port\" is not a table; did you mean \"ports\"?"},
        Mistake{"[device]\ncpu = { mean = 'ports' }\n", "bad.toml:14: device.cpu.mean: must be a table and a column"},
        Mistake{"[device]\ncpu = { only_if = { column = 'name', is = 1 } }\n",
                "bad.toml:14: device.cpu: needs one of \"object\", \"first\", "},
        Mistake{"[device]\ncpu = 7\n", "bad.toml:14: device.cpu: must be a table"},
        Mistake{"[[ssid]]\nssid = 'ssid'\n", "bad.toml:13: ssid: needs a \"table\""},
        Mistake{"[[ssid]]\ntable = 'cells'\n", "bad.toml:13: ssid: needs \"ssid\""},
        Mistake{"[[ssid]]\ntable = 'cell'\nssid = 'ssid'\n",
                "bad.toml:14: ssid.table: \"cell\" is not a table; did you mean \"cells\"?"},
        Mistake{"[[ssid]]\ntable = 'cells'\nssid = 'sid'\n",
                "bad.toml:15: ssid.ssid: \"sid\" is not a column of the table \"cells\"; did you mean \"ssid\"?"},
        Mistake{"[[ssid]]\ntable = 'cells'\nssid = 'number.name'\n",
                "bad.toml:15: ssid.ssid: \"number\" of the table \"cells\" refers to no other table"},
        Mistake{"[[ssid]]\ntable = 'cells'\nssid = 'port.names'\n",
                "bad.toml:15: ssid.ssid: \"names\" is not a column of the table \"ports\"; did you mean \"name\"?"},
        Mistake{"[[ssid]]\ntable = 'cells'\nssid = { text = '{ssid' }\n",
                "bad.toml:15: ssid.ssid.text: has a \"{\" without a \"}\""},
        Mistake{"[[ssid]]\ntable = 'cells'\nssid = 'ssid'\nin = 'port.kilooctets'\n",
                "bad.toml:16: ssid.in: is a counter, and its column must have no scale"},
        Mistake{"[[ssid]]\ntable = 'cells'\nssid = 'ssid'\nskip_if = { column = 'ssid' }\n",
                "bad.toml:16: ssid.skip_if: needs one of \"is\" and \"matches\""},
        Mistake{"[[ssid]]\ntable = 'cells'\nssid = 'ssid'\nskip_if = { column = 'ssid', matches = '(' }\n",
                "bad.toml:16: ssid.skip_if.matches: must be a regular expression"},
        Mistake{"[tables.more]\nindex = ['a']\ncolumns = { b = 'sysName' }\n",
                "bad.toml:15: tables.more.columns.b: must be an object as numbers with dots between them"},
        Mistake{"[tables.more]\ncolumns = { b = '1.3' }\n", "bad.toml:13: tables.more: needs an \"index\""},
        Mistake{"[tables.more]\nindex = ['a']\n", "bad.toml:13: tables.more: needs \"columns\""},
        Mistake{"[tables.more]\nindex = ['a', 'a']\ncolumns = { b = '1.3' }\n",
                "bad.toml:14: tables.more.index: \"a\" is the name of an earlier part"},
        Mistake{"[tables.more]\nindex = ['a']\ncolumns = { a = '1.3' }\n",
                "bad.toml:15: tables.more.columns.a: is the name of a part of the index"},
        Mistake{"[tables.more]\nindex = [{ name = 'a', kind = 'numbr' }]\ncolumns = { b = '1.3' }\n",
                "bad.toml:14: tables.more.index.kind: \"numbr\" is not a word for this; did you mean \"number\"?"},
        Mistake{"[tables.more]\nindex = ['Port']\ncolumns = { b = '1.3' }\n",
                "bad.toml:14: tables.more.index: a name has small letters"},
        Mistake{"[tables.more]\nindex = [{ name = 'A', refers_to = 'ports.index' }]\ncolumns = { b = '1.3' }\n",
                "bad.toml:14: tables.more.index: a name has small letters"},
        Mistake{"[tables.more]\nindex = ['a']\ncolumns = { b = { as = 'mac' } }\n",
                "bad.toml:15: tables.more.columns.b: needs an \"oid\""},
        Mistake{"[tables.more]\nindex = ['a']\ncolumns = { b = { oid = '1.3', range = [2, 1] } }\n",
                "bad.toml:15: tables.more.columns.b.range: must begin with the smaller number"},
        Mistake{"[tables.more]\nindex = ['a']\ncolumns = { b = { oid = '1.3', scale = 0 } }\n",
                "bad.toml:15: tables.more.columns.b.scale: must not be 0"},
        Mistake{"[tables.more]\nindex = ['a']\ncolumns = { b = { oid = '1.3', bits = 33 } }\n",
                "bad.toml:15: tables.more.columns.b.bits: must be a whole number from 1 to 32"},
        Mistake{"[tables.more]\nindex = ['a']\ncolumns = { b = { oid = '1.3', refers_to = 'ports' } }\n",
                "bad.toml:15: tables.more.columns.b.refers_to: must be a table and a column of it"},
        Mistake{"[tables.more]\nindex = [{ name = 'a', refers_to = 'ports.index' }]\ncolumns = { b = '1.3' }\n"
                "only_if = { column = 'a.name', is = 1 }\n",
                "bad.toml:13: tables.more: the conditions of a table are on columns of its own"},
        Mistake{"[tables.more]\nindex = ['a']\ncolumns = { b = '1.3' }\nonly_if = { column = 'c', is = 1 }\n",
                "bad.toml:16: tables.more.only_if.column: \"c\" is not a column of the table \"more\""},
        Mistake{"[tables.more]\nindex = ['a']\ncolumns = { b = { oid = '1.3', signed = true } }\n",
                "bad.toml:15: tables.more.columns.b.signed: needs \"bits\""},
        Mistake{"[tables.more]\nindex = ['a']\ncolumns = { b = { oid = '1.3', as = 'mac', range = [1, 2] } }\n",
                "bad.toml:15: tables.more.columns.b.range: is for numbers, and the value is a MAC address"},
        Mistake{"[tables.more]\nindex = [{ name = 'a', kind = 'mac', scale = 2 }]\ncolumns = { b = '1.3' }\n",
                "bad.toml:14: tables.more.index.scale: is for numbers, and the value is a MAC address"},
        Mistake{"[objects.address]\noid = '1.3.0'\nas = 'mac of engine id'\nadd = 1\n",
                "bad.toml:16: objects.address.add: is for numbers, and the value is a MAC address"},
        Mistake{"[[ssid]]\ntable = 'cells'\nssid = 'ssid'\nin = { text = '{number}' }\n",
                "bad.toml:16: ssid.in: is a counter, and must be the name of a column"},
        Mistake{"[[ssid]]\ntable = 'cells'\nssid = 'ssid'\nout = 'number'\n",
                "bad.toml:16: ssid.out: is a counter, and must be a column, no part of an index"},
        Mistake{"[match]\n", "bad.toml:13: match: needs \"object_id\", \"description\" or both"},
        Mistake{"[match]\nobject_id = []\n", "bad.toml:14: match.object_id: must name an object at least"},
        Mistake{"[match]\ndescription = '['\n", "bad.toml:14: match.description: must be a regular expression"}),
    [](const testing::TestParamInfo<Mistake>& mistake) { return "Number" + std::to_string(mistake.index); });

TEST(ProfileCatalogue, TellsEverythingThatIsWrongInTheOrderOfTheLines) {
  EXPECT_EQ(
      ErrorOf("device_type = 'ruter'\nclients_from = 'ssid'\n"),
      "bad.toml:1: device_type: \"ruter\" is not a word for this; did you mean \"router\"?; allowed: \"unknown\", "
      "\"router\", \"access point\" or \"switch\"\n"
      "bad.toml:1: needs a \"title\": the devices that the profile is for, in words\n"
      "bad.toml:2: clients_from: is \"ssid\", but the role \"ssid\" has no \"clients\"");
}

TEST(ProfileCatalogue, TellsTheLineOfWhatIsNoToml) {
  EXPECT_THAT(ErrorOf("title = 'a'\n= 3\n"), StartsWith("bad.toml:2: "));
}

TEST(ProfileCatalogue, RefusesTheNameOfATableThatBeginsWithNeitherLetterNorQuotationMark) {
  EXPECT_THAT(ErrorOf("title = 'a'\n[+match]\n"), StartsWith("bad.toml:2: "));
  EXPECT_THAT(ErrorOf("title = 'a'\n[\xc3\xa4]\n"), StartsWith("bad.toml:2: "));
  EXPECT_THAT(ErrorOf("title = 'a'\n[[,]]\n"), StartsWith("bad.toml:2: "));
}

TEST(ProfileCatalogue, RefusesLettersBehindANumberInAnyAlphabet) {
  for (const std::string letter : {"x", "\xd0\xa9", "\xe2\x84\xab"}) {
    EXPECT_THAT(ErrorOf("title = 'a'\nx = [2000, 600" + letter + "]\n"), StartsWith("bad.toml:2: ")) << letter;
  }
}

TEST(ProfileCatalogue, RefusesAnUnknownBase) {
  EXPECT_EQ(ErrorOf("title = 'a'\nextends = 'genric'\n"),
            "bad.toml:2: extends: \"genric\" is not a profile; allowed: \"bad\"");
}

/// Folders of profiles.
class ProfileFoldersTest : public testing::Test {
 protected:
  std::filesystem::path Shipped(const std::string& name, const std::string& text) {
    return Write("shipped", name, text);
  }
  std::filesystem::path Own(const std::string& name, const std::string& text) { return Write("own", name, text); }

  ProfileCatalogue Load() const { return ProfileCatalogue({folder_.Path("shipped"), folder_.Path("own")}); }

  std::string LoadError() const {
    try {
      Load();
      return {};
    } catch (const ProfileError& error) {
      return error.what();
    }
  }

  std::string Path(const std::string& name) const { return folder_.Path(name); }

 private:
  std::filesystem::path Write(const std::string& folder, const std::string& name, const std::string& text) {
    std::filesystem::create_directory(folder_.Path(folder));
    return folder_.Write(folder + "/" + name, text);
  }

  test::TestFolder folder_;
};

TEST_F(ProfileFoldersTest, GiveTheirProfilesInTheOrderOfTheirNames) {
  Shipped("b.toml", "title = 'B'");
  Shipped("a.toml", "title = 'A'");
  Shipped("notes.txt", "no profile");
  const ProfileCatalogue catalogue = Load();
  std::vector<std::string> titles;
  for (const Profile& profile : catalogue.profiles()) titles.push_back(profile.title);
  EXPECT_THAT(titles, ElementsAre("A", "B"));
  ASSERT_NE(catalogue.Find("b"), nullptr);
  EXPECT_EQ(catalogue.Find("b")->title, "B");
  EXPECT_EQ(catalogue.Find("c"), nullptr);
}

TEST_F(ProfileFoldersTest, ReplaceProfilesOfEarlierFoldersFileByFile) {
  Shipped("a.toml", "title = 'shipped a'");
  Shipped("b.toml", "title = 'shipped b'");
  Own("a.toml", "title = 'own a'");
  const ProfileCatalogue catalogue = Load();
  EXPECT_EQ(catalogue.Find("a")->title, "own a");
  EXPECT_EQ(catalogue.Find("b")->title, "shipped b");
}

TEST_F(ProfileFoldersTest, ExtendABaseOfAnotherFolder) {
  Shipped("base.toml", kTables + "[device]\ncpu = 'busy'\n");
  Own("mine.toml",
      "title = 'Mine'\nextends = 'base'\n[tables.ports.columns]\nname = '1.3.6.1.4.1.32473.9'\n"
      "[[interface]]\ntable = 'ports'\nindex = 'index'\nname = 'name'\n");
  const ProfileCatalogue catalogue = Load();
  const Profile* mine = catalogue.Find("mine");
  ASSERT_NE(mine, nullptr);
  EXPECT_EQ(mine->device.count("cpu"), 1U);
  std::vector<Oid> columns;
  for (const std::vector<Oid>& table : ColumnsOf(*mine)) columns.insert(columns.end(), table.begin(), table.end());
  EXPECT_THAT(columns, ElementsAre(Oid{1, 3, 6, 1, 4, 1, 32473, 9}));
}

TEST_F(ProfileFoldersTest, RefuseProfilesThatExtendEachOther) {
  Shipped("a.toml", "title = 'A'\nextends = 'b'\n");
  Shipped("b.toml", "title = 'B'\nextends = 'a'\n");
  EXPECT_EQ(LoadError(),
            Path("shipped/a.toml") + ":2: extends: a profile cannot extend itself, not by way of others either\n" +
                Path("shipped/b.toml") + ":2: extends: a profile cannot extend itself, not by way of others either");
}

TEST_F(ProfileFoldersTest, TellAMistakeInABaseOnce) {
  Shipped("base.toml", "title = 'Base'\ntypo = 1\n");
  Shipped("a.toml", "title = 'A'\nextends = 'base'\n");
  Shipped("b.toml", "title = 'B'\nextends = 'a'\n");
  const std::string error = LoadError();
  EXPECT_THAT(error, StartsWith(Path("shipped/base.toml") + ":2: typo: "));
  EXPECT_EQ(error.find('\n'), std::string::npos) << error;
}

TEST_F(ProfileFoldersTest, AreEmptyWhereTheyDoNotExist) {
  EXPECT_TRUE(Load().profiles().empty());
}

TEST_F(ProfileFoldersTest, RefuseAFileThatIsTooLarge) {
  Shipped("a.toml", "title = 'A'\n#" + std::string(1U << 20U, 'x'));
  EXPECT_THAT(LoadError(), HasSubstr("a.toml:1: is larger than 1048576 octets"));
}

TEST_F(ProfileFoldersTest, RefuseAFolderInPlaceOfAFile) {
  Shipped("b.toml", "title = 'B'");
  std::filesystem::create_directory(Path("shipped/a.toml"));
  EXPECT_EQ(LoadError(), Path("shipped/a.toml") + ":1: cannot be read");
  EXPECT_THROW(CheckProfile(Path("shipped"), {}), ProfileError);
}

TEST_F(ProfileFoldersTest, CheckAFileWithWhatItExtends) {
  Shipped("base.toml", kTables);
  const auto file = Own("mine.toml", "title = 'Mine'\nextends = 'base'\n[device]\ncpu = 'busy'\n");
  EXPECT_EQ(CheckProfile(file, {Path("shipped")}).name, "mine");
  EXPECT_THROW(CheckProfile(file, {}), ProfileError);
  EXPECT_THROW(CheckProfile(Path("missing.toml"), {}), ProfileError);
}

TEST_F(ProfileFoldersTest, TellWhatIsWrongInABaseThatIsNoToml) {
  Shipped("base.toml", "title = 'Base'\n= 3\n");
  Shipped("other.toml", "title = \n");
  const auto file = Own("mine.toml", "title = 'Mine'\nextends = 'base'\n");
  try {
    CheckProfile(file, {Path("shipped")});
    FAIL() << "it is right";
  } catch (const ProfileError& error) {
    EXPECT_THAT(error.what(), StartsWith(Path("shipped/base.toml") + ":2: "));
    EXPECT_THAT(error.what(), ::testing::Not(HasSubstr("other.toml"))) << "which has nothing to do with it";
  }
}

/// A catalogue in which several profiles match.
class ProfileMatchTest : public ProfileFoldersTest {
 protected:
  ProfileMatchTest() {
    Shipped("generic.toml", "title = 'Any'");
    Shipped("maker.toml", "title = 'Maker'\n[match]\nobject_id = '1.3.6.1.4.1.32473'");
    Shipped("model.toml", "title = 'Model'\n[match]\nobject_id = ['1.3.6.1.4.1.99999', '1.3.6.1.4.1.32473.7']");
    Shipped("special.toml", "title = 'Special'\n[match]\nobject_id = '1.3.6.1.4.1.32473.7'\ndescription = '^Special'");
    Shipped("zz.toml", "title = 'Same prefix'\n[match]\nobject_id = '1.3.6.1.4.1.32473.7'");
    Shipped("words.toml", "title = 'Words'\n[match]\ndescription = 'Words only'");
  }

  std::string Match(const std::string& object_id, const std::string& description) const {
    const ProfileCatalogue catalogue = Load();
    const ProfileMatch match = catalogue.Match(ParseOid(object_id).value_or(Oid()), description);
    return match.profile->name + ": " + match.why;
  }
};

TEST_F(ProfileMatchTest, TakesTheLongestPrefix) {
  EXPECT_EQ(Match("1.3.6.1.4.1.32473.8", ""), "maker: sysObjectID 1.3.6.1.4.1.32473.8 begins with 1.3.6.1.4.1.32473");
}

TEST_F(ProfileMatchTest, TakesTheFirstByNameOfThoseThatFitEquallyWell) {
  EXPECT_EQ(Match("1.3.6.1.4.1.32473.7.1", "Plain"),
            "model: sysObjectID 1.3.6.1.4.1.32473.7.1 begins with 1.3.6.1.4.1.32473.7");
}

TEST_F(ProfileMatchTest, PrefersOneWhoseDescriptionMatchesToo) {
  EXPECT_EQ(
      Match("1.3.6.1.4.1.32473.7", "Special device"),
      "special: sysObjectID 1.3.6.1.4.1.32473.7 begins with 1.3.6.1.4.1.32473.7 and sysDescr matches \"^Special\"");
}

TEST_F(ProfileMatchTest, TakesADescriptionAloneBeforeTheGenericOne) {
  EXPECT_EQ(Match("1.3.6.1.4.1.5", "Words only"), "words: sysDescr matches \"Words only\"");
}

TEST_F(ProfileMatchTest, ComparesNumbersOfObjectsNotTheirDigits) {
  EXPECT_EQ(Match("1.3.6.1.4.1.324731", ""), "generic: no other profile is for sysObjectID 1.3.6.1.4.1.324731");
}

TEST_F(ProfileMatchTest, TakesTheGenericOneForADeviceThatDoesNotSayWhatItIs) {
  EXPECT_THAT(Match("", ""), StartsWith("generic: "));
}

}  // namespace
}  // namespace probe::snmp
