#include "apps/job/message_text.h"

#include <utility>

#include <gtest/gtest.h>

namespace apps {
namespace {

TEST(MessageText, SaysInWordsWhatAPacketSays) {
    const std::pair<const char*, const char*> cases[] = {
        {"1;1;110;0;;", "110 asks for the state"},
        {"1;2;110;0;width=345 length=580.5;Daily news\tViolet",
         "110 asks to load a plate of 345 x 580.5 mm, 'Daily news'"},
        {"1;2;110;0;width=345;", "110 asks to load a plate that is not told rightly"},
        {"1;3;110;1270;width=9 length=9 separations=Cyan,Black*2;Page; 1",
         "110 asks to expose 'Page; 1' (Cyan, Black x 2) at 1270 dpi"},
        {"1;3;110;1270;;Page", "110 asks to expose 'Page', which is not told rightly"},
        {"1;4;0;0;;", "somebody without ID asks to unload the plate"},
        {"1;5;110;0;;", "110 asks the imager to stop"},
        {"1;6;111;77;;", "111 asks for the threads"},
        {"1;-7;110;0;;", "110 sends an unknown command, -7"},
        {"2;1;101;0;state=empty;", "imager 101: state empty, no plate"},
        {"2;1;101;0;state=loaded width=345 length=580 cassette=1;Daily\x01", "imager 101: state loaded, plate 345 x "
                                                                             "580 mm, 'Daily\\x01'"},
        {"2;2;101;0;state=loaded width=345 length=580 seconds=4;", "imager 101 has loaded the plate in 4 s"},
        {"2;4;101;0;state=empty;", "imager 101 has unloaded the plate"},
        {"2;5;101;0;state=empty;", "imager 101 stops"},
        {"2;6;101;0;request=7 part=5 parts=5 process=9 lock=outbox owner=4712 ms=4600;Server::Hang():",
         "imager 101 reports the lock outbox, part 5 of 5"},
        {"2;2;101;846;state=loaded;the engine is loaded", "imager 101 refused 'load': 846 the engine is loaded"},
        {"2;3;101;57;state=exposed;", "imager 101 broke off 'expose': Job Stopped: 57"},
        {"2;0;101;2123;;this is no whole message", "imager 101 refused a message: 2123 this is no whole message"},
        {"3;3;101;439;state=exposing separation=Cyan plate=2 plates=4;",
         "imager 101 exposes: 43 %, plate 2 of 4, Cyan"},
        {"3;2;101;5;state=loading;", "imager 101 loads: 0 %"},
        {"2;9;101;0;;", ""}, // none of ours
        {"4;1;101;0;;", ""},
        {"3;0;101;0;;", ""},
        {"1;1;110", ""},
        {"hello", ""},
        {"", ""},
    };
    for (const auto& [packet, words] : cases) {
        EXPECT_EQ(MessageText(packet), words) << packet;
    }
}

} // namespace
} // namespace apps
