// number_test.mm - the number bridge.

#include <cmath>
#include <limits>

#include "tests/boundary/boundary_test.h"
#include "tests/boundary/recording_objects.h"
#include "tests/boundary/replaced_method.h"

namespace {

class NumberTest : public BoundaryTest {
  protected:
    NumberTest() { Enter(); }

    double Read() {
        return Getter<double(ZEVAobjectStruct*)>("CIFilterGaussianBlurQOR", "inputRadius as double")(&object);
    }

    void Write(double value) {
        Setter<void(ZEVAobjectStruct*, double)>("CIFilterGaussianBlurQOR", "inputRadius as double")(&object, value);
    }

    RecordingObject* filter = [RecordingObject named:"filter"];
    ZEVAobjectStruct object = MakeFilterObject(filter);
    CapturedLog captured;
};

TEST_F(NumberTest, GetterSendsValueForKeyThenDoubleValueAndReachesNoHostEntry) {
    RecordingObject* value = [RecordingObject named:"value"];
    value->number = 0.1;
    filter->reply = value;
    EXPECT_EQ(Read(), 0.1);
    EXPECT_EQ(host.TakeLog(), (Lines{"[filter valueForKey:inputRadius]", "[value doubleValue]"}));
    EXPECT_EQ(value->references, 1u);
}

TEST_F(NumberTest, SetterSendsOneNumberAndReachesNoHostEntry) {
    Write(2.5);
    EXPECT_EQ(host.TakeLog(), Lines{"[filter setValue:forKey:2.5, inputRadius]"});
}

struct Narrowing {
    const char* name;
    double written;
    double stored;
};

class NarrowingTest : public NumberTest, public testing::WithParamInterface<Narrowing> {};

TEST_P(NarrowingTest, SetterStoresTheNearestFloat) {
    Write(GetParam().written);
    const double stored = [filter->received doubleValue];
    EXPECT_EQ(std::isnan(stored), std::isnan(GetParam().stored));
    if (!std::isnan(stored)) EXPECT_EQ(stored, GetParam().stored);
    EXPECT_EQ(std::signbit(stored), std::signbit(GetParam().stored));
    EXPECT_EQ(*[filter->received objCType], 'f');
}

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Values, NarrowingTest,
    testing::Values(
        //        name               written                 stored
        Narrowing{"oneTenth",        0.1,                    0.10000000149011612},
        Narrowing{"above24Bits",     16777217.0,             16777216.0},
        Narrowing{"tieToEvenUp",     16777219.0,             16777220.0},
        Narrowing{"beyondFloat",     1e39,                   kInfinity},
        Narrowing{"belowFloat",      -1e39,                  -kInfinity},
        Narrowing{"largestFloat",    3.4028234663852886e38,  3.4028234663852886e38},
        Narrowing{"infinite",        kInfinity,              kInfinity},
        Narrowing{"notANumber",      kNaN,                   kNaN},
        Narrowing{"minusZero",       -0.0,                   -0.0},
        Narrowing{"denormalFloat",   1.401298464324817e-45,  1.401298464324817e-45},
        Narrowing{"halfDenormal",    7.006492321624085e-46,  0.0},
        Narrowing{"denormalDouble",  4.9e-324,               0.0}),
    [](const auto& test) { return test.param.name; });
// clang-format on

TEST_F(NumberTest, GetterKeepsTheFullDoubleThatTheFilterHolds) {
    filter->reply = [NSNumber numberWithDouble:0.1];
    EXPECT_EQ(Read(), 0.1);
}

TEST_F(NumberTest, MissingValueReadsAsZeroWithoutException) {
    EXPECT_EQ(Read(), 0.0);
    EXPECT_EQ(host.TakeLog(), Lines{"[filter valueForKey:inputRadius]"});
}

TEST_F(NumberTest, ObjectWithoutFilterReadsAsZeroAndIgnoresWrites) {
    object = MakeFilterObject(nil);
    EXPECT_EQ(Read(), 0.0);
    Write(3);
    EXPECT_EQ(host.TakeLog(), Lines{});
}

TEST_F(NumberTest, ValueThatIsNotANumberRaisesOnceAndReadsAsZero) {
    filter->reply = [[[NSObject alloc] init] autorelease];
    EXPECT_EQ(Read(), 0.0);
    EXPECT_EQ(host.raised.size(), 1u);
}

id NilNumber(id, SEL, float) { return nil; }

TEST_F(NumberTest, NumberThatCannotBeMadeIsNotWritten) {
    ReplacedMethod numberWithFloat([NSNumber class], @selector(numberWithFloat:), reinterpret_cast<IMP>(&NilNumber));
    Write(1);
    EXPECT_EQ(host.TakeLog(), Lines{});
}

TEST_F(NumberTest, ExceptionOnWritingIsRaisedInTheHost) {
    host.messageFaults["[filter setValue:forKey:1, inputRadius]"] = Raise::kNSException;
    Write(1);
    EXPECT_EQ(host.raised.size(), 1u);
}

}  // namespace
