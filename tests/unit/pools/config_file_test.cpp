#include "pools/config_file.h"

#include <cerrno>
#include <string>
#include <vector>

#include "tests/unit/pools/pool_samples.h"

namespace qsvmon {
namespace {

using namespace pool_samples;

std::vector<std::string> taken;  // "word|rest" of each line that reached a handler

void keep(RpcRequest& line) {
  taken.push_back(std::string(line.errtext) + "|" + line.data);
}

constexpr ConfigSection kSections[] = {{"mac", keep}, {"group", keep}};

class ConfigFile : public ConfigFolderTest {
 protected:
  ConfigFile() { taken.clear(); }
  using Lines = std::vector<std::string>;

  static Lines lines_of(const std::string& text) {
    write_main(text);
    taken.clear();
    EXPECT_EQ(read_config_file("conf/korvale.conf", kSections), 0);
    return taken;
  }
};

TEST_F(ConfigFile, PassesTheRestOfALineToItsSection) {
  EXPECT_EQ(lines_of("mac m=1.2.3.4 d=x\ngroup id=1 name=n\n"),
            (Lines{"mac|m=1.2.3.4 d=x", "group|id=1 name=n"}));
}

TEST_F(ConfigFile, TrimsAndSplitsAtTheFirstBlank) {
  EXPECT_EQ(lines_of("   mac a  \n"), Lines{"mac|a"});
  EXPECT_EQ(lines_of("mac    a b  c   \n"), Lines{"mac|a b  c"});
  EXPECT_EQ(lines_of("mac\ta\tb\t\n"), Lines{"mac|a b"});
  EXPECT_EQ(lines_of(" mac \t a\n"), Lines{"mac|a"});
  EXPECT_EQ(lines_of("mac a\r\n"), Lines{"mac|a"});
  EXPECT_EQ(lines_of("mac a \r b\n"), Lines{"mac|a"});
  EXPECT_EQ(lines_of("mac a"), Lines{"mac|a"});  // no line end
}

TEST_F(ConfigFile, ATabInFrontBecomesABlankAndHidesTheSection) {
  EXPECT_EQ(lines_of("\tmac a\n"), Lines{});
  EXPECT_EQ(lines_of("  \tmac a\n"), Lines{});
}

TEST_F(ConfigFile, SkipsWhatIsNoLineOfItsSections) {
  EXPECT_EQ(lines_of(""), Lines{});
  EXPECT_EQ(lines_of("\n\r\n   \n\t\n"), Lines{});
  EXPECT_EQ(lines_of("#mac a\n  # mac a\n"), Lines{});
  EXPECT_EQ(lines_of("mac\nmac \nmac\t \r\nmac\r a\n"), Lines{});
  EXPECT_EQ(lines_of("Mac a\nmacs a\nma a\nmac=a b\ncusiprng a\n"), Lines{});
}

TEST_F(ConfigFile, ASectionMayBeginLikeAnother) {
  constexpr ConfigSection kAlike[] = {{"mac", keep}, {"macs", keep}, {"ma", keep}};
  write_main("macs a\nma b\nmac c\nm d\nmacst e\n");
  EXPECT_EQ(read_config_file("conf/korvale.conf", kAlike), 0);
  EXPECT_EQ(taken, (Lines{"macs|a", "ma|b", "mac|c"}));
}

TEST_F(ConfigFile, TheTextEndsAtANul) {
  EXPECT_EQ(lines_of(std::string("mac a\0b\ngroup c\n", 16)), (Lines{"mac|a", "group|c"}));
  EXPECT_EQ(lines_of(std::string("mac\0 b\ngroup c\n", 15)), Lines{"group|c"});
}

TEST_F(ConfigFile, ALongLineIsReadInPiecesOf1022Characters) {
  const std::string fill(1018, 'x');  // with "mac " a full piece
  EXPECT_EQ(lines_of("mac " + fill + "mac y\ngroup z\n"),
            (Lines{"mac|" + fill, "mac|y", "group|z"}));
  EXPECT_EQ(lines_of("mac " + fill + "\nmac y"), (Lines{"mac|" + fill, "mac|y"}));
  EXPECT_EQ(lines_of("mac " + fill), Lines{"mac|" + fill});
  EXPECT_EQ(lines_of("mac " + fill + "more of it\nmac y"), (Lines{"mac|" + fill, "mac|y"}));
  EXPECT_EQ(lines_of("mac " + fill.substr(1) + "\nmac y"),
            (Lines{"mac|" + fill.substr(1), "mac|y"}));
  EXPECT_EQ(lines_of("mac " + fill.substr(1) + "mac y"), Lines{"mac|" + fill.substr(1) + "m"});
}

TEST_F(ConfigFile, ReadsEveryLineOfALongFile) {
  std::string text;
  Lines wanted;
  for (unsigned i = 0; i < 3000; ++i) {  // some 250 KB, with line ends at every offset of a buffer
    const std::string rest(i % 173 + 1, static_cast<char>('a' + i % 26));
    wanted.push_back("mac|" + rest);
    text += "mac " + rest + "\n";
  }
  EXPECT_EQ(lines_of(text), wanted);
}

TEST_F(ConfigFile, AMissingFileFailsWithItsErrno) {
  errno = 0;
  EXPECT_EQ(read_config_file("conf/absent", kSections), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(ConfigFile, AFolderHasNoLines) {
  EXPECT_EQ(read_config_file("conf", kSections), 0);
  EXPECT_EQ(taken, Lines{});
}

TEST_F(ConfigFile, TheRecordIsSharedByTheLines) {
  static int rejected = 0;
  static std::uint32_t status = 0;
  constexpr ConfigSection kRejecting[] = {
      {"mac", [](RpcRequest& line) { ++rejected, line.status = 22; }},
      {"group", [](RpcRequest& line) { status = line.status; }}};
  write_main("mac a\ngroup b\n");
  EXPECT_EQ(read_config_file("conf/korvale.conf", kRejecting), 0);
  EXPECT_EQ(rejected, 1);
  EXPECT_EQ(status, 22U);  // cleared once a file, not once a line
}

TEST_F(ConfigFile, WordsEndAtOneWithoutAnEqualsSign) {
  char text[] = "a=1  b=\"x y=2\" c stop d=4";
  RpcRequest line{};
  line.data = text;
  std::vector<std::string> words;
  for (LineWords scan(line); scan.next();) {
    words.push_back(std::string(scan.is("a") ? "A" : "-") + scan.value());
  }
  EXPECT_EQ(words, (std::vector<std::string>{"A1", "-x", "-2\""}));
}

TEST_F(ConfigFile, KeysAreComparedWhole) {
  char text[] = "ip=1 iprng=2 =3 i=4";
  RpcRequest line{};
  line.data = text;
  std::string found;
  for (LineWords scan(line); scan.next();) {
    for (const char* key : {"ip", "iprng", "", "i"}) {
      if (scan.is(key)) found += std::string(key) + "=" + scan.value() + ";";
    }
  }
  EXPECT_EQ(found, "ip=1;iprng=2;=3;i=4;");
}

}  // namespace
}  // namespace qsvmon
