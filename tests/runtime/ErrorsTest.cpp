#include "runtime/text/Errors.h"

#include "runtime/text/SystemErrors.h"
#include "runtime/text/Utf8.h"
#include "support/ErrorOf.h"

#include <gtest/gtest.h>

#include <locale>

namespace
{

using namespace qpr;

/// What an application's global locale may do to numbers.
struct GroupingNumbers : std::numpunct<wchar_t>
{
    std::string do_grouping() const override { return "\3"; }
};

TEST(ErrorsTest, SystemErrorsNameCallPlaceNumberAndDescription)
{
    const auto message = [](std::uint32_t error)
    { return FromUtf8(test::ErrorOf([error] { ThrowSystemErrorWithNumber(L"Read() failed", L"f", error, 1); })); };
    const std::wstring description(WithoutLineEnd(DescribeSystemError(5, nullptr).text));
    ASSERT_FALSE(description.empty());
    EXPECT_EQ(L"Read() failed in f.1, error number = 0x5: " + description, message(5));
    EXPECT_TRUE(message(64).starts_with(L"Read() failed, error number = 0x40: "));
    EXPECT_TRUE(message(0xDEADBEEF)
                    .starts_with(L"Read() failed in f.1, error number = 0xdeadbeef: ???: FormatMessage() failed, "
                                 L"error number = "));
}

TEST(ErrorsTest, DescriptionLosesOneLineEnd)
{
    EXPECT_EQ(L"Denied.", WithoutLineEnd(L"Denied.\r\n"));
    EXPECT_EQ(L"Denied.", WithoutLineEnd(L"Denied.\n"));
    EXPECT_EQ(L"Denied.\r", WithoutLineEnd(L"Denied.\r"));
    EXPECT_EQ(L"Denied.\n", WithoutLineEnd(L"Denied.\n\n"));
    EXPECT_EQ(L"", WithoutLineEnd(L"\r\n"));
}

TEST(ErrorsTest, SocketErrorsAreDescribedByTheTable)
{
    const auto message = [](std::uint32_t error) { return SocketErrorMessage(L"WSASend() failed", L"f", 7, error); };
    EXPECT_EQ(
        L"WSASend() failed in f.7, Winsock error number = 10035: Resource temporarily unavailable.", message(10035));
    EXPECT_EQ(L"WSASend() failed, Winsock error number = 10053: Software caused connection abort.", message(10053));
    EXPECT_EQ(L"WSASend() failed in f.7, Winsock error number = 995: Overlapped operation aborted.", message(995));
    EXPECT_EQ(L"WSASend() failed in f.7, Winsock error number = 0: ???", message(0));
}

TEST(ErrorsTest, GlobalLocaleDoesNotChangeTheNumbers)
{
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new GroupingNumbers));
    const std::wstring message = SocketErrorMessage(L"WSASend() failed", L"f", 1234, 10062);
    std::locale::global(before);
    EXPECT_EQ(L"WSASend() failed in f.1234, Winsock error number = 10062: ???", message);
}

TEST(ErrorsTest, TextSurvivesTheWayThroughWhat)
{
    EXPECT_EQ(L"Gr\u00FC\u00DFe", ErrorText(RuntimeError(L"Gr\u00FC\u00DFe")));
    EXPECT_EQ(L"x\uFFFDy", ErrorText(std::runtime_error("x\xFFy")));
}

} // namespace
