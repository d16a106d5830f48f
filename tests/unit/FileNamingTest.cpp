#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/PhotoTakerFixture.h"

namespace camera_shot {
namespace {

using ::testing::ElementsAre;

const std::string kFolder = "/home/ada/Pictures";
const std::string kStem = "/home/ada/Pictures/Camera shot 2026-11-21 12.00.00";

TEST(FileNaming, JoinsFolderBaseNameAndMoment) {
  PhotoTakerFixture desk;
  EXPECT_EQ(desk.taker().generatePath(kFolder), kStem + ".png");
}

TEST(FileNaming, NeitherMakesNorHoldsTheName) {
  PhotoTakerFixture desk;
  EXPECT_EQ(desk.taker().generatePath(kFolder), desk.taker().generatePath(kFolder));
  EXPECT_TRUE(desk.files.existing.empty());
}

TEST(FileNaming, OfAnEmptyFolderIsInTheRoot) {
  PhotoTakerFixture desk;
  EXPECT_EQ(desk.taker().generatePath(""), "/Camera shot 2026-11-21 12.00.00.png");
}

TEST(FileNaming, KeepsADoubledSeparator) {
  PhotoTakerFixture desk;
  EXPECT_EQ(desk.taker().generatePath("/photos/"), "/photos//Camera shot 2026-11-21 12.00.00.png");
}

TEST(FileNaming, NumbersThreeShotsOfTheSameMoment) {
  PhotoTakerFixture desk;
  for (int shot = 0; shot < 3; ++shot)
    desk.shoot();
  EXPECT_THAT(desk.journal.of("write"), ElementsAre("write photo.png to " + kStem + ".png atomically",
                                                    "write photo.png to " + kStem + " (1).png atomically",
                                                    "write photo.png to " + kStem + " (2).png atomically"));
}

TEST(FileNaming, TakesAFolderOfThatNameForTaken) {
  PhotoTakerFixture desk;
  desk.files.existing = {kFolder, kStem + ".png"};
  EXPECT_EQ(desk.taker().generatePath(kFolder), kStem + " (1).png");
}

TEST(FileNaming, LooksAtNumbersOnlyOnceThePlainNameIsTaken) {
  PhotoTakerFixture desk;
  desk.files.existing = {kStem + " (1).png"};
  EXPECT_EQ(desk.taker().generatePath(kFolder), kStem + ".png");
}

TEST(FileNaming, TakesTheFirstFreeNumberFromOneAndNeverZero) {
  PhotoTakerFixture desk;
  desk.files.existing = {kStem + ".png", kStem + " (1).png", kStem + " (3).png"};
  EXPECT_EQ(desk.taker().generatePath(kFolder), kStem + " (2).png");
}

TEST(FileNaming, HasNoLastNumber) {
  PhotoTakerFixture desk;
  desk.files.existing = {kStem + ".png"};
  for (int number = 1; number <= 1500; ++number)
    desk.files.existing.insert(kStem + " (" + std::to_string(number) + ").png");
  EXPECT_EQ(desk.taker().generatePath(kFolder), kStem + " (1501).png");
}

TEST(FileNaming, UsesTheTranslatedBaseNameInBothForms) {
  PhotoTakerFixture desk;
  desk.bundle.translations["Camera shot"] = "Kamerabild";
  EXPECT_EQ(desk.taker().generatePath("/f"), "/f/Kamerabild 2026-11-21 12.00.00.png");
  desk.files.existing = {"/f/Kamerabild 2026-11-21 12.00.00.png",
                         "/f/Kamerabild 2026-11-21 12.00.00 (1).png"};
  EXPECT_EQ(desk.taker().generatePath("/f"), "/f/Kamerabild 2026-11-21 12.00.00 (2).png");
}

TEST(FileNaming, TakesTheMomentWhenTheFileIsNamed) {
  PhotoTakerFixture desk;
  desk.taker();
  desk.loop.advance(61s);
  EXPECT_EQ(desk.taker().generatePath("/f"), "/f/Camera shot 2026-11-21 12.01.01.png");
}

TEST(FileNaming, KeepsTheMomentThroughAllAttempts) {
  PhotoTakerFixture desk;
  desk.files.existing = {kStem + ".png", kStem + " (1).png"};
  desk.files.whileLooking = [&] { desk.loop.advance(1s); };
  EXPECT_EQ(desk.taker().generatePath(kFolder), kStem + " (2).png");
}

TEST(FileNaming, AsksForTheOutputFolderAtEachShot) {
  PhotoTakerFixture desk;
  desk.shoot();
  desk.suite.locationManager.setLocationForCurrentTool("/elsewhere");
  desk.shoot();
  EXPECT_THAT(desk.journal.of("write"),
              ElementsAre("write photo.png to " + kStem + ".png atomically",
                          "write photo.png to /elsewhere/Camera shot 2026-11-21 12.00.00.png atomically"));
}

}  // namespace
}  // namespace camera_shot
