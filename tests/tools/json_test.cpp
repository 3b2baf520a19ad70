// --json of info, convert, volume and resample.
#include "tests/tools/command_test.h"

#include <nlohmann/json.hpp>

#include <cmath>

namespace {

using Json = nlohmann::json;

class JsonReport : public CommandTest {
protected:
    Json Printed(const std::vector<std::string>& arguments)
    {
        last_ = RunTool(arguments);
        EXPECT_EQ(last_.exitCode, 0) << last_.errors;
        const Json json = Json::parse(last_.output, nullptr, false);
        EXPECT_FALSE(json.is_discarded()) << last_.output;
        return json;
    }
};

TEST_F(JsonReport, OfInfoListsTheFiles)
{
    const std::string in = Write("a \"b\".wav", Noise(SF_FORMAT_PCM_24, 2, 1000, 44100));
    const Json json = Printed({"info", "--json", in, in});
    ASSERT_EQ(json.size(), 2U);
    EXPECT_EQ(json[0], json[1]);
    EXPECT_EQ(json[0]["file"], in);
    EXPECT_EQ(json[0]["channels"], 2);
    EXPECT_EQ(json[0]["rate"], 44100);
    EXPECT_EQ(json[0]["frames"], 1000);
    EXPECT_EQ(json[0]["format"], "24in32");
    EXPECT_EQ(json[0]["missing_bytes"], 0);
    EXPECT_EQ(json[0]["commands"], Json({"convert", "trim", "volume", "mux", "split", "resample", "analyze"}));
}

TEST_F(JsonReport, IsValidForNamesOfEveryEncoding)
{
    const std::vector<std::pair<std::string, std::string>> names = {
        {"\xC3\xA9\n.wav", "\xC3\xA9\n.wav"},
        {"\xE9t\xE9.wav", "\xEF\xBF\xBDt\xEF\xBF\xBD.wav"},
        {"\xE2\x82\xAC\xF0\x9F\x8E\xB5.wav", "\xE2\x82\xAC\xF0\x9F\x8E\xB5.wav"},
        {"\xE2\x82.wav", "\xEF\xBF\xBD\xEF\xBF\xBD.wav"}};
    for (const auto& [name, printed] : names) {
        const std::string in = Write(name, Noise(SF_FORMAT_PCM_16, 1, 10));
        EXPECT_EQ(Printed({"info", "--json", in})[0]["file"], File(printed));
        EXPECT_EQ(Printed({"analyze", "--json", in})["file"], File(printed));
    }
}

TEST_F(JsonReport, OfConvertHasCountsAndLevels)
{
    const std::string in = Write("in.wav", Floats({0.5F, -0.5F, 0.5F, -2.0F}, 2));
    const Json json = Printed({"convert", in, File("out.wav"), "--format", "24in24", "--json"});
    EXPECT_EQ(json["input"], in);
    EXPECT_EQ(json["output"], File("out.wav"));
    EXPECT_EQ(json["channels"], 2);
    EXPECT_EQ(json["input_rate"], 48000);
    EXPECT_EQ(json["output_rate"], 48000);
    EXPECT_EQ(json["input_format"], "float");
    EXPECT_EQ(json["output_format"], "24in24");
    EXPECT_EQ(json["frames"], 2);
    EXPECT_EQ(json["overload"], "clip");
    EXPECT_EQ(json["overloads"], 1);
    EXPECT_EQ(json["peak_dbfs"], 0.0);
    EXPECT_NEAR(json["level_dbfs"].get<double>(), 10 * std::log10(1.75 / 4), 0.001);
    EXPECT_GT(json["times_real_time"].get<double>(), 0.0);
    const Json guarded = Printed({"convert", in, File("out.wav"), "--format", "16", "--json", "--guard"});
    EXPECT_EQ(guarded["overloads"], 0);
    EXPECT_NEAR(guarded["guard_db"].get<double>(), -6.021, 0.001);
}

TEST_F(JsonReport, OfVolumeAndResampleIsLikeThatOfConvert)
{
    const std::string in = Write("in.wav", Noise(SF_FORMAT_PCM_16, 2, 4800));
    const Json volume = Printed({"volume", in, File("out.wav"), "--gain", "0.5", "--format", "16", "--json"});
    EXPECT_EQ(volume["frames"], 4800);
    EXPECT_NEAR(volume["peak_dbfs"].get<double>(), -6.021, 0.01);
    const Json resample = Printed({"resample", in, File("out.wav"), "--rate", "44100", "--json"});
    EXPECT_EQ(resample["frames"], 4410);
    EXPECT_EQ(resample["output_rate"], 44100);
    EXPECT_EQ(RunTool({"convert", in, "-", "--json"}).exitCode, 2);
}

} // namespace
