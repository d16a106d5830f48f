#include <map>
#include <memory>
#include <random>

#include <glib.h>
#include <gtest/gtest.h>

#include "picture/PhotoRows.h"
#include "tests/picture/PngReading.h"
#include "tests/picture/RawFrames.h"
#include "tests/picture/TestJpegs.h"

// What a camera sent becomes the same file on every kind of processor. The pictures here are made of integers
// alone, as what mathematical libraries make of others depends on the processor. Whoever changes the files on
// purpose copies the digests that these tests then tell: they are those of every processor.
namespace camera_shot_test {
namespace {

using picture::Frame;
using picture::PixelFormat;

/// SHA-256 of the files, upright and mirrored.
const std::map<std::string, std::string> kDigests = {
    {"YUY2", "4c2d9252b213b087dd37487d12eb3166b77abf90b99a1e70f501124622c443ca"},
    {"UYVY", "3ac8a9b607d2054cf892a00430ecc41f764ffa0b198745a221243ddcf73ac2ed"},
    {"YVYU", "b1f684674492805a3695dfc257491c3bd41ee6e54d71fa98e6da917efb03200d"},
    {"VYUY", "00ff6fbc52141f1cdeb565ffc76b4a0b5378f03cf135f8bd2ebb5ae575d3c123"},
    {"NV12", "e90b5a777750395fb7ef0e433feea3c0352dccef12fd81433a07f39406f86a99"},
    {"NV21", "870eb20273da284d3f048c0641a15a19cff7bc9f1c32a201e68b61d02d4f095b"},
    {"NV16", "7b368bb93f4c62c939591f322fb843b52c69dba95d44b9842b4dab8924b5d230"},
    {"NV61", "422bd63ec03565f3902d59ab42f1542a88e65eefe0cd6c9469171902c70a7536"},
    {"NV24", "494feaad7a7633730af8c3ddf274c94ca4e2a5b047fbb6232338473edc7e6b36"},
    {"NV42", "d8c1689e3cd083d5dda750f6840b78ef738e9c61ae2cd4f1a58f4204f337ff34"},
    {"I420", "ef01ea3a63b863461472e14cddf5fb73511d261d1fa352c02473292afab94802"},
    {"YV12", "a5176c35b5631fe311787ff32099e0fe681beb660e7b5b3ecafa0663c77afa8b"},
    {"Y42B", "dbddc5314b244eb94f2529f7ccc3fac1b5e8e0688847f95c4ca3b777ce31e296"},
    {"YV16", "7d33bcb59ed7367209ee61b1b65257a1cdc9b31a5384da3aa16774b5abbbddaf"},
    {"Y444", "f7b2612243cd54773c74c93db9e9ea82e97a53f26980936bdc360222dbeb6d89"},
    {"YV24", "2560b97c9514bdf2124c433fb041e35cb52c345e12249c0afe3dd7c02728a73c"},
    {"AYUV", "37cd045d13f0335a2b19e51ed5e325d5cd850d3796da51028bed54d4513684b3"},
    {"VUYA", "13ca0e371686726740a25ce13bae38990da7b4f65e42ba7121c8de33a03e798e"},
    {"YUVA", "97f25517c7bbc26be944d25455eb0a99c4caad3b6f18d2b9563704d6055938a3"},
    {"v308", "23cefdf194bfc774d0f2cdd3c805758fad743548fd80cfb96d076add90512452"},
    {"IYU2", "f44a125f5004897a714d677cba0a0c7aaccf71b073be4187fa7ad86be251115c"},
    {"P010", "b3496302adef28175cca3c933e45651e47425bce766d501de35c0828d60a0300"},
    {"I420_10", "c5fa2988a08060406c98030ebcabaa89830e8d475730bc8b46e45068de146072"},
    {"I422_10", "2d76465dece8e2f89af714db1fc5329159ec2419e1100fc173743883ef71489e"},
    {"Y444_10", "32687af42bf63369df38f7f189cb14abda0cbeeaaf318abcae3131f91543338b"},
    {"I420_12", "8680a82ee3e8476f5335a59db7667bb97ae3f0ed4b8198041a59fa8daef06518"},
    {"I422_12", "d17a79a2cada6d19df25354328f62c2dd14b21ad79e3bddfeac9977324be371a"},
    {"Y444_12", "bd1f0ec79270f5b44572fbb8b047d79eee6b82d1e28a8402021fe9025d1f5e5a"},
    {"P010_BE", "c706885486629bf09f85c622069d2452781dbbe424e7f2c51d1754eb76e389f1"},
    {"I420_10BE", "5d7b65498f55b0638b81daab50801b5aeacb74a3c5b305082cfae696478a2f69"},
    {"I422_10BE", "1b13f7b8011ffb287e0f90f5a54458e3b86230751afb3a1629b4a012dd32ce9e"},
    {"Y444_10BE", "7ba363823577ddb5b04dc883153fae9a12a6c9b9ddf5a32c27e9a144cb6638cd"},
    {"I420_12BE", "2547f4362126ff4e3016aa6eee996f23eaab7ceac419fcb55319c7510b7ee490"},
    {"I422_12BE", "3391c403d42855abf0466a4ad09bedaf348aea4dddc62a3cdbe7f8fe297e44e9"},
    {"Y444_12BE", "bb9f5137ec9f3015aaf935e18f6792dda013b3e63b95a8559d5e0f18d1e968fd"},
    {"v210", "ead325c5e467cc47fa24d04916f4b5d2a6755f75f7b2767550aed1bb8f0cfc51"},
    {"UYVP", "e591ec6b329963edc199ce2a79cb21f5fbc9bb499f604f28419de14e269dab37"},
    {"v216", "5a8f74b882b51f95ca5bc14ef27fcf2cf07e0f74166c627e9f23400b18728b3a"},
    {"AYUV64", "7279ae18d27366d3fa516615fb960c1bc261192fd869241b8aaa3f759120db28"},
    {"RGB", "a4bd72cd9b0d66d89f52f7d03bbbb457887efd23064aa4b1a0696df6201fced9"},
    {"BGR", "a0436eb8fc2410c4692bf2205fb56032ebd780e511d27a49feb2a1cde2cd1389"},
    {"RGBx", "d6c0f1e9d2b3aae04f38687106e8ab65b3a962fc1061400d4b4fc5fb600aefa4"},
    {"BGRx", "067f303722c95986f723546406879cd937789e7c3b6393e9f7c1f2c61481ca8d"},
    {"xRGB", "7f556212e2b29d5d79fe344624a6e1c155078a7e384746038a7a24e240fe17e2"},
    {"xBGR", "f48dde5ab3213aeaa1522359399bbba6a720e965cf54b1a55812081b42ff9be2"},
    {"RGBA", "d6c0f1e9d2b3aae04f38687106e8ab65b3a962fc1061400d4b4fc5fb600aefa4"},
    {"BGRA", "067f303722c95986f723546406879cd937789e7c3b6393e9f7c1f2c61481ca8d"},
    {"ARGB", "7f556212e2b29d5d79fe344624a6e1c155078a7e384746038a7a24e240fe17e2"},
    {"ABGR", "f48dde5ab3213aeaa1522359399bbba6a720e965cf54b1a55812081b42ff9be2"},
    {"RGB16", "c71e1e0bffba2e200a8348fa6c2e363307ed7330347c54d7e085d05b7704adda"},
    {"RGB16_BE", "33820ea2bd5caa88f5502dcb707cbff4538895f1524f4e5e6515200bd613a452"},
    {"RGB15", "c818dd4961efc780a3278ba6ecc838e362bf89201e19c7534119d7fb20195286"},
    {"BGR15", "624237dad70ed20573a4b26552145e1fb73c15803d72a5fa049d2fbbf44fc5b7"},
    {"RGB12", "d54b7fcdfcb7653397af26daa7e26a8f4e41144d833ee523c514a3b1d008286a"},
    {"xRGB_210", "c14160fa1f9a40daf2c8da9c2eefa8086e1554321148c8de1d3a49ed7e999c1e"},
    {"xBGR_210", "eff0bcd47de3fc500d7e6afd3a74a08792838291851e2d55d862945991101d51"},
    {"RGBx_102", "c0dda2c8ba96dd3eeae228742d740d71c9d9a123426df89b45ef78701304b3a3"},
    {"BGRx_102", "c9a50f5f6388fc6ae51ffae332ef7abf0242bd3d67da93907afd134174c5a581"},
    {"r210", "58f9dc646ddd4abe985f48de488975212f410792949457d5815945bb3cd49d3e"},
    {"ARGB64", "45130a5f5184102c138b2d7ff0a3549ccb6b6daa926734892420683069bf0675"},
    {"GRAY8", "fd5b5704fea681d6f0655a016b3b056acb1a68148a16cf36bbe1dfc5e936858b"},
    {"GRAY10", "4344e9753f22215f869a7b7e4cabdc76aa1a97ce4e52f3840c99b8bff012fc0a"},
    {"GRAY12", "e0355a40b2b12777d87ee7600e4a6a66cbf058368d979f7f0a070b75e2fbcf6e"},
    {"GRAY14", "189265cff21422fcbfd6971fa6349127cd9c279c9ed7cd82a912811b70e3b52b"},
    {"GRAY16", "4d93eb84596644c51c08e07f0df58d789bf33bc99e23b27f87ac03637e743e52"},
    {"GRAY16_BE", "654bd94203ae3ee6dd98c6977c06d941fb7a00355a23e05c18739fe3326c27df"},
    {"colours of YUY2", "22fa6d40f056064d886a84cd2519b9811816cfbecfd5cbf995cd5c63c7204d10"},
    {"colours of P010", "ac54cf1f0255b9d93bffaeab4fbdb91654459327de77abf50ce02ac4e01993af"},
    {"4:2:2", "ade7e83c5224d78e3bdf70b491f6159a1ca1c311ec704993f128ebf27da477be"},
    {"4:2:0", "0464a75e54e94bd8892aa1991af9b07351cf744bc890bc11e41b8878ecd3d77f"},
    {"4:4:4", "25e7eb3b915215dae488d7f09867f21e4c3db7b0f4e67d29f317302d2fbe824b"},
    {"grey JPEG", "8be833262d1b94c7c64fc95623dc837c655ab7d176f39c81155615f8b0db3266"},
    {"inks", "face5a0b2a565116802b121fc48178d23b77db1b15a44360874d3c0de5d3b6d6"},
    {"progressive", "ade7e83c5224d78e3bdf70b491f6159a1ca1c311ec704993f128ebf27da477be"},
    {"arithmetic", "ade7e83c5224d78e3bdf70b491f6159a1ca1c311ec704993f128ebf27da477be"},
    {"restarts", "de5fa5a9a6706d3b89f10b1154c28b55b1fae19fda7588dcf24c956bb35023d1"},
    {"turned", "4735c946989798b47608d225b0dfe1fcc76940f4128a17bd18552a7958a9cf15"},
    {"scene", "03fb9e38495e3206b63087e07bf7a0306b17e6a19f8dec0a47c22d0a6215c515"},
    {"noise", "580e682d9ef09df0588a13c88ff3c9889fb27b8bf30b12a3c89b557536b66aaa"},
    {"drawing", "f19debcedf3f7f4f3788caf3058dd71d912998e10fb7650edb6cd6f89bb91dab"},
    {"gradient", "9699e041fa2ed6ac1bf53e9d78b1d0f084225040c7185431229605ba5bd20578"},
    {"flat", "30fdc5ad6efd41c01861e26edb4498486bff60848a8a15d461ff9b073532bf24"},
    {"one pixel", "be40b5b35caf0f3a8bc0193074204464de590094778dcc447dfdd6a07866f907"},
};

/// A surface with an edge, under noise that is the sum of four throws, as a sensor's is of many.
Picture noisyScene(std::uint32_t width, std::uint32_t height) {
  std::mt19937 random(1);
  return drawPicture(width, height, [&](std::uint32_t x, std::uint32_t y) {
    const std::uint32_t surface = 60 + 110 * x / width + x * y / 512 % 40 + (2 * x > 3 * y ? 20 : 0);
    std::uint32_t rgb = 0;
    for (const std::uint32_t tint : {0U, 10U, 20U}) {
      const auto bits = static_cast<std::uint32_t>(random());
      rgb = rgb << 8 | (surface - tint + (bits & 3) + (bits >> 2 & 3) + (bits >> 4 & 3) + (bits >> 6 & 3));
    }
    return rgb;
  });
}

Frame jpegFrame(const JpegOptions& options) {
  Frame frame;
  frame.bytes = encodeJpeg(noisyScene(323, 241), options);
  return frame;
}

Frame rgbFrame(const Picture& picture) {
  Frame frame;
  frame.format = PixelFormat::RGB;
  frame.width = static_cast<int>(picture.width);
  frame.height = static_cast<int>(picture.height);
  frame.stride = 3 * frame.width;
  frame.bytes = picture.pixels;
  return frame;
}

Bytes photoOf(const Frame& frame, bool mirrored) {
  std::string whyNot;
  const auto rows = picture::openPhotoRows(frame, mirrored, whyNot);
  EXPECT_NE(rows, nullptr) << whyNot;
  return rows ? encodePng(*rows, 2) : Bytes{};
}

class Digest {
 public:
  void add(const Frame& frame) {
    for (const bool mirrored : {false, true}) {
      const Bytes png = photoOf(frame, mirrored);
      ASSERT_FALSE(png.empty());
      g_checksum_update(checksum_.get(), png.data(), static_cast<gssize>(png.size()));
    }
  }

  std::string text() { return g_checksum_get_string(checksum_.get()); }

 private:
  std::unique_ptr<GChecksum, decltype(&g_checksum_free)> checksum_{g_checksum_new(G_CHECKSUM_SHA256),
                                                                   &g_checksum_free};
};

void expectDigest(const std::string& name, const std::vector<Frame>& frames) {
  Digest digest;
  for (const Frame& frame : frames)
    digest.add(frame);
  const auto expected = kDigests.find(name);
  EXPECT_TRUE(expected != kDigests.end() && digest.text() == expected->second)
      << "    {\"" << name << "\", \"" << digest.text() << "\"},";
}

TEST(PhotoDigest, OfEveryUncompressedFormatIsTheSameEverywhere) {
  for (const PixelFormat format : rawFormats())
    expectDigest(nameOf(format), {noiseFrame(format, 322, 50, 6, 1)});
}

TEST(PhotoDigest, OfEveryColorimetryIsTheSameEverywhere) {
  using enum picture::ColorMatrix;
  for (const PixelFormat format : {PixelFormat::YUY2, PixelFormat::P010}) {
    std::vector<Frame> frames;
    for (const auto matrix : {BT601, BT709, BT2020, FCC, SMPTE240M}) {
      for (const auto range : {picture::ColorRange::Limited, picture::ColorRange::Full}) {
        frames.push_back(noiseFrame(format, 130, 20, 0, 2));
        frames.back().matrix = matrix;
        frames.back().range = range;
      }
    }
    expectDigest(std::string("colours of ") + nameOf(format), frames);
  }
}

TEST(PhotoDigest, OfEveryKindOfJpegIsTheSameEverywhere) {
  expectDigest("4:2:2", {jpegFrame({})});
  expectDigest("4:2:0", {jpegFrame({.lumaDown = 2})});
  expectDigest("4:4:4", {jpegFrame({.quality = 97, .lumaAcross = 1})});
  expectDigest("grey JPEG", {jpegFrame({.grey = true})});
  expectDigest("inks", {jpegFrame({.colors = JpegColors::Ycck})});
  expectDigest("progressive", {jpegFrame({.progressive = true})});
  expectDigest("arithmetic", {jpegFrame({.arithmetic = true})});
  expectDigest("restarts", {jpegFrame({.quality = 40, .restartRows = 1})});
  expectDigest("turned", {jpegFrame({.exifOrientation = 6})});
}

TEST(PhotoDigest, OfEveryKindOfPictureIsTheSameEverywhere) {
  expectDigest("scene", {rgbFrame(noisyScene(1283, 721))});
  expectDigest("noise", {rgbFrame(noisePicture(333, 222, 3))});
  expectDigest("drawing", {rgbFrame(drawnPicture(801, 599, 4))});
  expectDigest("gradient", {rgbFrame(gradientPicture(640, 480))});
  expectDigest("flat", {rgbFrame(flatPicture(1921, 1081, 0x336699))});
  expectDigest("one pixel", {rgbFrame(flatPicture(1, 1, 0x336699))});
}

}  // namespace
}  // namespace camera_shot_test
