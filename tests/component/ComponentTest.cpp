// The component view over its parameter container.
#include <gtest/gtest.h>

#include <cstring>

#include "OrvBayer.h"

namespace {

class ComponentView : public testing::Test {
protected:
    ComponentView() : bayer(OrvBayer_CreateComponent()), view(*OrvBayer_GetComponent(bayer)) {}
    ~ComponentView() override { OrvBayer_DeleteComponent(bayer); }

    OrvBayer* bayer;
    OrvComponent& view;
    char algType[16] = "BayerAlgType";
    char unknown[16] = "bayeralgtype";
};

TEST_F(ComponentView, NamesComeByIndexIntoBuffersThatFit) {
    EXPECT_EQ(view.GetComponentTypeID(), 5);
    ASSERT_EQ(view.GetParamCount(), 2);
    char name[32];
    unsigned length = 13;
    EXPECT_EQ(view.GetParamName(0, name, &length), 0u);
    EXPECT_STREQ(name, "BayerAlgType");
    EXPECT_EQ(length, 13u);
    std::memset(name, '#', sizeof(name));
    length = 12;
    EXPECT_EQ(view.GetParamName(0, name, &length), 0x80050006u);
    EXPECT_EQ(length, 13u);
    EXPECT_EQ(name[0], '#');
    length = sizeof(name);
    EXPECT_EQ(view.GetParamName(1, name, &length), 0u);
    EXPECT_STREQ(name, "NoRealloc");
    length = 1;
    EXPECT_EQ(view.GetParamName(99, name, &length), 0u);
    EXPECT_STREQ(name, "");
    length = 0;
    EXPECT_EQ(view.GetParamName(99, name, &length), 0x80050006u);
    EXPECT_EQ(length, 1u);
    EXPECT_EQ(view.GetParamName(0, name, nullptr), 0x80050007u);
    EXPECT_EQ(view.GetParamName(0, nullptr, &(length = 99)), 0x80050007u);
}

// Numbers are written with the parameters of the other component.
TEST_F(ComponentView, TextsAndFlagsReachTheContainer) {
    bool flag = false;
    char text[8] = "2";
    unsigned length = sizeof(text);
    EXPECT_EQ(view.SetParamAsString(algType, text), 0u);
    EXPECT_EQ(view.GetParamAsString(algType, text, &length, nullptr), 0u);
    EXPECT_STREQ(text, "2");
    EXPECT_EQ(view.SetParamBool(algType, true), 0u);
    EXPECT_EQ(view.GetParamBool(algType, &flag), 0u);
    EXPECT_TRUE(flag);
    EXPECT_EQ(view.SetParamInt(unknown, 1), 0x8001000Au);
    EXPECT_EQ(view.SetParamInt(algType, 5), 0x8001000Cu);
    EXPECT_EQ(view.RunCommand(algType), 0x8001000Au);
}

TEST_F(ComponentView, NullComponentsAreAccepted) {
    EXPECT_EQ(OrvBayer_GetComponent(nullptr), nullptr);
    EXPECT_EQ(OrvBayer_ConvertImage(nullptr, nullptr, nullptr), 0x80050007u);
    EXPECT_EQ(OrvBayer_AllocData(nullptr, nullptr, nullptr), 0x80050007u);
    OrvBayer_ReleaseData(nullptr);
    OrvBayer_DeleteComponent(nullptr);
    OrvBayer::DeleteComponent(OrvBayer::CreateComponent());
}

}  // namespace
