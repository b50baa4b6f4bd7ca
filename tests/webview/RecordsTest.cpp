// The records' exact texts, and what the chrome's texts of them are read as.
#include "webview/events/RecordFields.h"
#include "webview/events/RecordReaders.h"

#include <gmock/gmock.h>

namespace {

using Tessel::Platform::String;
using ::testing::ElementsAre;
using Items = std::vector<OrvWebHistoryItem>;
using Texts = std::vector<String>;
using Variants = std::vector<JavaScriptVariant>;

template <typename Record>
std::string textOf(const Record& record) {
  return fields::textOf(record).toStdString();
}

TEST(RecordsTest, AreWrittenInTheirOrder) {
  EXPECT_EQ(textOf(OrvWebRect{1, -2, 3, 4}), R"({"height":4,"width":3,"x":1,"y":-2})");
  EXPECT_EQ(textOf(OrvWebPoint{1, -2}), R"({"x":1,"y":-2})");
  EXPECT_EQ(textOf(OrvWebFavicon("AA==", "http://h/\"", 16, 8)),
            R"({"data":"Unsupported type: unsigned char*","dataInBase64":"AA==","height":8,)"
            R"("url":"http://h/\"","width":16})");
  EXPECT_EQ(textOf(Items{{"u", "o", "t", true}, {}}),
            R"([{"isPost":true,"originalURL":"o","title":"t","url":"u"},)"
            R"({"isPost":false,"originalURL":"","title":"","url":""}])");
  EXPECT_EQ(textOf(Variants{1.5, 1e21, "s", true, JavaScriptVariant::null(), {}}),
            R"([1.5,1e+21,"s",true,"",""])");
  OrvWebContext context;
  context.alt = "a";
  context.isVideo = true;
  context.isLoomContext = true;
  context.mimeType = "m";
  context.loomContext = "l";
  EXPECT_EQ(textOf(context),
            R"({"alt":"a","isAudio":false,"isFocusable":false,"isImage":false,"isInput":false,)"
            R"("isPassword":false,"isSelectable":false,"isSingleLine":false,"isVideo":true,)"
            R"("isLoomContext":true,"mimeType":"m","pattern":"","src":"","text":"","url":"",)"
            R"("loomContext":"l","invokeRequests":)"
            R"("Unsupported type: std::vector<OrvWebInvokeRequest*> const&"})");
  OrvWebCertificateInfo info;
  info.error = 18446744073709551615u;
  info.fileNames = {"a", "b"};
  info.trusted = 1;
  EXPECT_EQ(textOf(info),
            R"({"error":18446744073709551615,"fileCount":2,"fileNames":["a","b"],"rejected":0,)"
            R"("trusted":1,"filenames":"Unsupported type: char const**"})");
}

TEST(RecordsTest, AreReadWhenWhole) {
  EXPECT_EQ(recordFromJSON<OrvWebRect>(
                R"( {"z":[{}],"x":1,"x":9,"y":-2.9,"width":1e99,"height":-1e99} )"),
            (OrvWebRect{1, -2, 2147483647, -2147483647 - 1}));
  EXPECT_EQ(recordFromJSON<OrvWebFavicon>(R"({"iconDataBase64Encoded":"d","url":"u","width":1})"),
            OrvWebFavicon("d", "u"));
  EXPECT_THAT(
      recordFromJSON<Items>(R"([{"url":"u","originalURL":"o","title":"t\u0000","isPost":true},5,)"
                            R"({"url":"u","originalURL":"o","title":"t"},)"
                            R"({"url":"u","originalURL":"o","title":"t","isPost":1}])"),
      ElementsAre(OrvWebHistoryItem("u", "o", std::string("t\0", 2), true), OrvWebHistoryItem(),
                  OrvWebHistoryItem(), OrvWebHistoryItem()));
  EXPECT_THAT(recordFromJSON<Texts>(R"(["a",1,null,["b"],"",{"c":"d"}])"), ElementsAre("a", ""));
  EXPECT_THAT(recordFromJSON<Variants>(R"(["a",-5,1.0,1e3,2147483648,null,{},[true],false])"),
              ElementsAre(JavaScriptVariant("a"), JavaScriptVariant(-5), JavaScriptVariant(1.0),
                          JavaScriptVariant(1e3), JavaScriptVariant(false)));
}

TEST(RecordsTest, AreReadAsNothingWhenNotWholeOrTooLarge) {
  EXPECT_EQ(recordFromJSON<OrvWebRect>(R"({"x":1,"y":2,"width":3,"height":null})"), OrvWebRect());
  const std::string deep(1000000, '[');
  EXPECT_THAT(recordFromJSON<Texts>(deep), ElementsAre());
  EXPECT_THAT(recordFromJSON<Texts>("[\"a\"," + deep + std::string(deep.size(), ']') + "]"),
              ElementsAre("a"));
  const std::string large(maximumRecordText, ' ');
  EXPECT_THAT(recordFromJSON<Texts>(large + "[\"a\"]"), ElementsAre());
}

}  // namespace
