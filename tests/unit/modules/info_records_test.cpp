#include "modules/generic/info_records.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include "answer.h"

namespace GenTLProducer
{

namespace
{

InfoPtr makeDeviceInfo()
{
    CDefaultDeviceInfo::Fields fields;
    fields.identifier = "Tolmen zvK1800-45tqr (0042)";
    fields.displayName = "left eye (0042)";
    fields.tlType = "Custom";
    fields.tlTypeValue = 5;
    fields.serialNumber = "0042";
    fields.product = "Vant ZEVO MIPI";
    return boost::make_shared<CDefaultDeviceInfo>(fields);
}

InfoPtr makeSystemInfo(const char* path)
{
    return boost::make_shared<CDefaultSystemInfo>(CDefaultSystemInfo::Fields{
        "id", "Tolmen", "zvK1800-45tqr", "2.0.0", "Custom", 6, "display", path});
}

InfoPtr makeUrlInfo(const char* sha1)
{
    CDefaultUrlInfo::Fields fields;
    fields.sha1 = sha1;
    fields.fileName = "GenTLSystem.xml";
    fields.registerAddress = 0x944;
    fields.fileSize = 0x4AD1;
    return boost::make_shared<CDefaultUrlInfo>(fields);
}

} // namespace

// The whole protocol on one string and one number: size query, too small, exact, larger.
TEST(InfoProtocol, TellsSizesAndCopiesOnlyWhatFits)
{
    const std::string untouched = "########";
    const std::string text("0042\0###", 8);
    const struct {
        std::int32_t command;
        std::size_t room; // 0: none at all
        GC_ERROR result;
        std::size_t size;
        INFO_DATATYPE type;
        std::string content;
    } kCases[] = {
        {DEVICE_INFO_SERIAL_NUMBER, 0, GC_ERR_SUCCESS, 5, INFO_DATATYPE_STRING, untouched},
        {DEVICE_INFO_SERIAL_NUMBER, 4, GC_ERR_BUFFER_TOO_SMALL, 4, INFO_DATATYPE_STRING, untouched},
        {DEVICE_INFO_SERIAL_NUMBER, 5, GC_ERR_SUCCESS, 5, INFO_DATATYPE_STRING, text},
        {DEVICE_INFO_SERIAL_NUMBER, 8, GC_ERR_SUCCESS, 5, INFO_DATATYPE_STRING, text},
        {DEVICE_INFO_ACCESS_STATUS, 3, GC_ERR_BUFFER_TOO_SMALL, 3, INFO_DATATYPE_INT32, untouched},
        {DEVICE_INFO_ACCESS_STATUS, 8, GC_ERR_SUCCESS, 4, INFO_DATATYPE_INT32,
         std::string("\0\0\0\0####", 8)},
    };
    for (const auto& row : kCases) {
        std::string content = untouched;
        INFO_DATATYPE type = kUntouched;
        std::size_t size = row.room;
        char* const buffer = row.room != 0 ? content.data() : nullptr;
        EXPECT_EQ(makeDeviceInfo()->GetInfo(row.command, &type, buffer, &size), row.result);
        EXPECT_EQ(size, row.size);
        EXPECT_EQ(type, row.type);
        EXPECT_EQ(content, row.content);
    }
}

TEST(InfoProtocol, UnknownCommandsClearTypeAndSize)
{
    const Answer unknown(GC_ERR_NOT_IMPLEMENTED, INFO_DATATYPE_UNKNOWN, 0, 0);
    const auto ask = [](const InfoPtr& info, std::int32_t command) {
        return answerOf([&](auto... to) { return info->GetInfo(command, to...); });
    };
    for (const InfoPtr& info : {makeDeviceInfo(), makeSystemInfo("/x/y.cti"), makeUrlInfo("")})
        EXPECT_EQ(ask(info, 4711), unknown);
    EXPECT_EQ(ask(makeUrlInfo(""), URL_INFO_FILE_SHA1_HASH), unknown) << "there is none";
    EXPECT_EQ(ask(makeDeviceInfo(), DEVICE_INFO_TIMESTAMP_FREQUENCY),
              Answer(GC_ERR_NOT_IMPLEMENTED, kUntouched, 8, 0));
}

TEST(InfoRecords, HelpersReadPublicAndPrivateCommands)
{
    const InfoPtr info = makeDeviceInfo();
    EXPECT_EQ(ReadInfoString(info, DEVICE_INFO_DISPLAYNAME), "left eye (0042)");
    EXPECT_EQ(ReadInfoString(info, DEVICE_PRIVATE_INFO_PRODUCT, true), "Vant ZEVO MIPI");
    EXPECT_EQ(ReadInfoString(info, DEVICE_INFO_ACCESS_STATUS), "") << "a number is no string";
    EXPECT_EQ(ReadInfoString(nullptr, DEVICE_INFO_ID), "");
    EXPECT_EQ(ReadInfoInt(info), 5);
    EXPECT_EQ(ReadInfoInt(makeUrlInfo("")), 0);
    EXPECT_EQ(ReadInfoString(info->Clone(), DEVICE_INFO_ID), "Tolmen zvK1800-45tqr (0042)");
}

TEST(InfoRecords, TransportLayerIdIsTheFileNameWithoutAVersion)
{
    const struct {
        const char* path;
        const char* id;
        const char* name;
    } kCases[] = {
        {"/opt/libx-1.2.cti", "libx.cti", "libx-1.2.cti"},
        {"/opt/a-b/libx.cti", "libx.cti", "libx.cti"},
        {"name-2.0.0.cti", "name.cti", "name-2.0.0.cti"},
        {"a-b-3.cti", "a-b.cti", "a-b-3.cti"},
        {"x-.cti", "x.cti", "x-.cti"},
        {"cti-", "cti-", "cti-"},
        {"", "", ""},
    };
    for (const auto& row : kCases) {
        const InfoPtr info = makeSystemInfo(row.path);
        EXPECT_EQ(ReadInfoString(info, TL_INFO_ID), row.id) << row.path;
        EXPECT_EQ(ReadInfoString(info, TL_INFO_NAME), row.name) << row.path;
    }
}

TEST(InfoRecords, UrlIsComposedInLowerCaseHexadecimal)
{
    const InfoPtr info = makeUrlInfo("0123");
    EXPECT_STREQ(info->GetId(), "local:///GenTLSystem.xml;944;4ad1");
    EXPECT_EQ(ReadInfoString(info, URL_INFO_FILE_SHA1_HASH), "0123");
}

} // namespace GenTLProducer
