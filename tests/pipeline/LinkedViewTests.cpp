#include "support/Picture.h"
#include "support/PipelineFixture.h"

#include <functional>
#include <thread>

namespace {

/// Two windows that show the same map. What one draws the other must show to the pixel.
class LinkedViews : public OnPrograms {
protected:
    LinkedViews() { driver.JudgeDroppedUniforms(true); }

    /// Draws in both views in turn, and compares their pictures.
    void ExpectSameFrame(const std::function<void(COpenGLView&)>& draw) {
        std::vector<Picture> pictures;
        for (LiveView* live : {&first, &second}) {
            (*live)->MakeCurrent(GLContextMain);
            live->Clear();
            draw(*live->view);
            pictures.push_back(TakePicture(*live->view, 128, 128));
        }
        EXPECT_GT(pictures[0].CountDrawn(), 0);
        EXPECT_EQ(Compare(pictures[0], pictures[1], 0).otherPixels, 0);
        frame = pictures[1];
    }

    LiveView first;
    LiveView second;
    Picture frame; ///< what the second view showed last
};

TEST_F(LinkedViews, LinkedViews_ShowTheSameFrameAfterPanning) {
    for (const int pan : {0, 20, 40, 20}) {
        ExpectSameFrame([&](COpenGLView& view) {
            view.LoadIdentity();
            view.Translate(pan, 0.0, 0.0);
            DrawSquare(view, kRed);
        });
        EXPECT_EQ(frame.At(pan + 4, 4), kRed) << pan;
        EXPECT_EQ(frame.CountDrawn(), 64) << pan;
    }
}

TEST_F(LinkedViews, TakeTheSamePointSize) {
    for (const int size : {4, 9, 2}) {
        ExpectSameFrame([&](COpenGLView& view) {
            view.PointSize(static_cast<float>(size));
            view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderPoint);
            view.BeginArrays(GL_POINTS, GLShaderPoint);
            view.AddIndex2DVertexRGBA(64.0, 64.0, 255, 255, 255, 255);
            view.EndArraysAndDisableClientState();
        });
        EXPECT_EQ(frame.CountDrawn(), size * size);
    }
}

TEST_F(LinkedViews, WriteInTheSameColor) {
    for (const Pixel& color : {kRed, kGreen, kBlue}) {
        ExpectSameFrame([&](COpenGLView& view) {
            view.Color(color.r, color.g, color.b);
            view.DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
            EXPECT_EQ(view.DrawFontAtlasText(L"Map", 20.0, 20.0, 0.0, false, false), S_OK);
            view.DrawTeardownFontAtlasText(false, false);
        });
        const int ofThisColor = static_cast<int>(std::count(frame.pixels.begin(), frame.pixels.end(), color));
        EXPECT_GT(ofThisColor, 0) << color;
    }
    first->MakeCurrent(GLContextMain);
}

// The second view is bound and has a batch open when the first pans to where the second is already.
TEST_F(LinkedViews, OpenBatchKeepsItsMatrix) {
    const auto panTo = [](LiveView& live, double x) {
        live->MakeCurrent(GLContextMain);
        live->LoadIdentity();
        live->Translate(x, 0.0, 0.0);
    };
    for (int turn = 0; turn < 3; ++turn) {
        panTo(first, 10.0);
        DrawSquare(*first.view, kGreen);
        panTo(second, 40.0);
        second.Clear();
        second->EnableClientState(true, false, true, false, GLShaderColorPassThrough);
        second->BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
        AddSquare(*second.view, kRed);
        panTo(first, 40.0);
        DrawSquare(*first.view, kGreen);
        second->MakeCurrent(GLContextMain);
        second->EndArraysAndDisableClientState();
        EXPECT_EQ(second.At(44, 4), kRed);
        EXPECT_EQ(second.CountDrawn(), 64);
    }
}

#ifdef ORRIN_CHECKED
TEST_F(LinkedViews, SecondThreadThatDrawsWithProgramsIsReportedOnce) {
    ExpectSameFrame([](COpenGLView& view) { DrawSquare(view, kRed); });
    second->MakeNull();
    DebugOutput output;
    std::thread other([&] {
        second->MakeCurrent(GLContextMain);
        DrawSquare(*second.view, kRed);
        DrawSquare(*second.view, kRed);
        second->MakeNull();
    });
    other.join();
    first->MakeCurrent(GLContextMain);
    DrawSquare(*first.view, kRed);
    EXPECT_EQ(output.Count(L"draws with programs, but thread"), 1);
}
#endif

} // namespace
