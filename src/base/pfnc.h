// Pixel format values of the Pixel Format Naming Convention (PFNC), 32-bit codes.
#pragma once

#include <cstdint>

namespace GenTLProducer
{

/// The standard's names, so that tables of formats read like it.
namespace Pfnc
{

inline constexpr std::uint32_t Mono8 = 0x01080001;
inline constexpr std::uint32_t Mono10 = 0x01100003;
inline constexpr std::uint32_t Mono10p = 0x010A0046;
inline constexpr std::uint32_t Mono12 = 0x01100005;
inline constexpr std::uint32_t Mono12p = 0x010C0047;
inline constexpr std::uint32_t Mono16 = 0x01100007;
inline constexpr std::uint32_t BayerGR8 = 0x01080008;
inline constexpr std::uint32_t BayerRG8 = 0x01080009;
inline constexpr std::uint32_t BayerGB8 = 0x0108000A;
inline constexpr std::uint32_t BayerBG8 = 0x0108000B;
inline constexpr std::uint32_t BayerGR10 = 0x0110000C;
inline constexpr std::uint32_t BayerRG10 = 0x0110000D;
inline constexpr std::uint32_t BayerGB10 = 0x0110000E;
inline constexpr std::uint32_t BayerBG10 = 0x0110000F;
inline constexpr std::uint32_t BayerGR10p = 0x010A0056;
inline constexpr std::uint32_t BayerGR12 = 0x01100010;
inline constexpr std::uint32_t BayerRG12 = 0x01100011;
inline constexpr std::uint32_t BayerGB12 = 0x01100012;
inline constexpr std::uint32_t BayerBG12 = 0x01100013;
inline constexpr std::uint32_t BayerGR12p = 0x010C0057;
inline constexpr std::uint32_t BayerGR16 = 0x0110002E;
inline constexpr std::uint32_t BayerRG16 = 0x0110002F;
inline constexpr std::uint32_t BayerGB16 = 0x01100030;
inline constexpr std::uint32_t BayerBG16 = 0x01100031;
inline constexpr std::uint32_t RGB8 = 0x02180014;
inline constexpr std::uint32_t YUV422_8 = 0x02100032;
inline constexpr std::uint32_t YUV422_8_UYVY = 0x0210001F;
inline constexpr std::uint32_t YCbCr422_8 = 0x0210003B;
inline constexpr std::uint32_t YCbCr420_8_YY_CbCr_Semiplanar = 0x020C0112;

} // namespace Pfnc

} // namespace GenTLProducer
