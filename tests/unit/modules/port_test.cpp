#include "modules/generic/default_port.h"

#include <array>

#include <gtest/gtest.h>

#include "answer.h"
#include "modules/generic/port_description.h"

namespace GenTLProducer
{

namespace
{

boost::shared_ptr<CDefaultUrlInfo> makeUrl(const char* fileName)
{
    CDefaultUrlInfo::Fields fields;
    fields.fileName = fileName;
    return boost::make_shared<CDefaultUrlInfo>(fields);
}

} // namespace

TEST(UrlList, IsASequenceOfTextsBehindWhichOneMoreNulStands)
{
    const std::pair<CUrlInfoVector, std::string> kCases[] = {
        {{}, std::string(2, '\0')},
        {{makeUrl("a")}, std::string("local:///a;0;0\0\0", 16)},
        {{makeUrl("a"), makeUrl("b")}, std::string("local:///a;0;0\0local:///b;0;0\0\0", 31)},
    };
    for (const auto& [urls, expected] : kCases) {
        std::size_t size = 0;
        EXPECT_EQ(CopyUrlList(urls, nullptr, &size), GC_ERR_SUCCESS);
        EXPECT_EQ(size, expected.size());
        std::array<char, 64> list;
        list.fill('#');
        size = expected.size() - 1;
        EXPECT_EQ(CopyUrlList(urls, list.data(), &size), GC_ERR_INVALID_PARAMETER);
        EXPECT_EQ(list[0], '#');
        size = list.size();
        EXPECT_EQ(CopyUrlList(urls, list.data(), &size), GC_ERR_SUCCESS);
        EXPECT_EQ(std::string(list.data(), size), expected);
        EXPECT_EQ(list[size], '#');
    }
}

TEST(PortDescription, EveryPortHasOneWithTheHashOfItsBytes)
{
    for (const char* port :
         {kSystemPortId, kInterfacePortId, kDevicePortId, kStreamPortId, kRemotePortId}) {
        std::vector<std::uint8_t> bytes;
        boost::shared_ptr<CDefaultUrlInfo> url;
        ASSERT_TRUE(AttachPortXml(port, bytes, url, 0x1000)) << port;
        EXPECT_EQ(bytes.front(), '<') << port;
        EXPECT_NE(bytes.back(), '\0') << "the NUL behind a file isn't part of it";
        EXPECT_EQ(ReadInfoString(url, URL_INFO_FILE_SHA1_HASH).size(), 40u);
        const auto askSize = [&](auto... to) { return url->GetInfo(URL_INFO_FILE_SIZE, to...); };
        EXPECT_EQ(answerOf(askSize), Answer(GC_ERR_SUCCESS, INFO_DATATYPE_UINT64, 8, bytes.size()));
    }
}

TEST(PortDescription, UnknownPortsHaveNone)
{
    std::vector<std::uint8_t> bytes{7};
    boost::shared_ptr<CDefaultUrlInfo> url;
    EXPECT_FALSE(AttachPortXml("DefaultPort", bytes, url, 0));
    EXPECT_FALSE(AttachPortXml(nullptr, bytes, url, 0));
    EXPECT_EQ(bytes.size(), 1u);
    EXPECT_FALSE(url);
}

} // namespace GenTLProducer
