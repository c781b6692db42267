// member_script_test.cpp - scripts that use vectors, colors, transforms and raw bytes.

#include "tests/companion/companion_script_test.h"

namespace {

TEST_F(CompanionScriptTest, VectorElementsHaveNames) {
    EXPECT_EQ(Run(R"(
        local v = rectangle(1, 2, 30, 40.5)
        assert(v.X == 1 and v.Y == 2 and v.Z == 30 and v.W == 40.5)
        assert(v.Width == 30 and v.Height == 40.5 and v.Text == "[1 2 30 40.5]" and v.Count == 4)
        local point = CIVectorQOR.Point(5, 6)
        assert(point.X == 5 and point.Y == 6 and point.Z == 0 and point.Height == 0)
        assert(CIVectorQOR().Text == nil and CIVectorQOR().X == 0)
    )"),
              "");
}

TEST_F(CompanionScriptTest, HexReadsAColor) {
    EXPECT_EQ(Run(R"(
        local c = CIColorQOR.Hex("#ff8000")
        assert(c.Red == 1 and near(c.Green, 128 / 255) and c.Blue == 0 and c.Alpha == 1)
        c = CIColorQOR.Hex("00FF0033")
        assert(c.Red == 0 and c.Green == 1 and c.Blue == 0 and near(c.Alpha, 0.2))
        for _, text in ipairs{"", "#", "#ff80", "#ff80001", "ff8000 ", "gg8000", "-f8000", "#ff8000ff0"} do
            assert(refusal(CIColorQOR.Hex, text) == "CIColorQOR.Hex: expected \"#rrggbb\" or \"#rrggbbaa\", got \"" ..
                   text .. "\"; no color was created")
        end
        assert(refusal(CIColorQOR.Hex, nil))
    )"),
              "");
}

TEST_F(CompanionScriptTest, WithAlphaReplacesTheAlpha) {
    EXPECT_EQ(Run(R"(
        local c = CIColorQOR.RGBA(0.25, 0.5, 0.75, 1):WithAlpha(0.5)
        assert(c.Red == 0.25 and c.Green == 0.5 and c.Blue == 0.75 and c.Alpha == 0.5 and c.Text == "0.25 0.5 0.75 0.5")
        assert(CIColorQOR():WithAlpha(1) == nil and CIColorQOR().Text == nil)
    )"),
              "");
}

TEST_F(CompanionScriptTest, TransformStepsApplyInOrder) {
    EXPECT_EQ(Run(R"(
        local identity = NSAffineTransformQOR.Identity()
        local function at(transform, x, y)
            local point = transform:Apply(CIVectorQOR.Point(3, 5))
            return near(point.X, x, 1e-5) and near(point.Y, y, 1e-5)
        end
        assert(at(identity, 3, 5))
        assert(at(identity:Translate(10, 20), 13, 25))
        assert(at(identity:Scale(2, -3), 6, -15))
        assert(at(identity:Rotate(math.pi / 2), -5, 3))
        assert(at(identity:Translate(10, 20):Scale(2, 3), 26, 75))
        assert(at(identity:Scale(2, 3):Translate(10, 20), 16, 35))
        local turn = identity:Rotate(math.pi / 2)
        assert(at(identity:Translate(10, 20):Concat(turn), -25, 13))
        assert(at(turn:Concat(identity:Translate(10, 20)), 5, 23))
        assert(at(identity, 3, 5))
    )"),
              "");
}

TEST_F(CompanionScriptTest, InverseUndoesATransform) {
    EXPECT_EQ(Run(R"(
        local t = NSAffineTransformQOR.Make(2, 0.5, -1, 3, 40, -7)
        for _, both in ipairs{t:Concat(t:Inverse()), t:Inverse():Concat(t)} do
            local point = both:Apply(CIVectorQOR.Point(3, 5))
            assert(near(point.X, 3, 1e-4) and near(point.Y, 5, 1e-4))
        end
        local flat = NSAffineTransformQOR.Make(1, 2, 2, 4, 0, 0)
        local vast = NSAffineTransformQOR.Make(1e200, 0, 0, 1e200, 0, 0)  -- its determinant is infinite
        for _, transform in ipairs{flat, vast} do
            assert(refusal(transform.Inverse, transform) ==
                   "NSAffineTransformQOR.Inverse: the transform is not invertible; no transform was created")
        end
        assert(refusal(t.Concat, t, nil) ==
               "NSAffineTransformQOR.Concat: the transform is nil; no transform was created")
        assert(refusal(t.Apply, t, nil) == "NSAffineTransformQOR.Apply: the point is nil; no point was created")
    )"),
              "");
}

TEST_F(CompanionScriptTest, MemoryBlocksRoundTripBytes) {
    EXPECT_EQ(Run(R"(
        local block = bytes("a\0\255")
        assert(block.Size == 3 and block.Bytes == "a\0\255")
        assert(bytes("").Size == 0 and bytes("").Bytes == "" and bytes(nil) == nil)
        local cube = CIFilterColorCubeQOR()
        local values = string.rep(string.pack("<ffff", 1, 0.5, 0, 1), 8)
        cube.inputCubeDimension, cube.inputCubeData = 2, bytes(values)
        assert(cube.inputCubeData.Bytes == values)
    )"),
              "");
}

}  // namespace
