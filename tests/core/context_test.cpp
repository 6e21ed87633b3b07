// Status, handlers, texts and version: what every thread has of its own and what never changes.
#include "core/context.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <future>
#include <map>
#include <string>
#include <thread>

#include "support/reports.h"

namespace tovtest {
namespace {

const char* const kUnknown = "Unknown error or status code";

TEST(ErrorStr, TextOfEveryCode) {
    const std::map<int, std::string> faults = {
        {-10, "Incorrect image size"},
        {-11, "Incorrect offset of ROI of the image"},
        {-12, "One from two pointers should be null, and other should be not null, imageData or tileInfo "},
        {-13, "Incorrect widthStep of the image"},
        {-14, "Incorrect Color model or channel sequence of the image"},
        {-15, "Incorrect number of channels in the image"},
        {-17, "Incorrect depth value in the image header"},
        {-18, "Incorrect alpha channel number in the image header"},
        {-19, "Incorrect data order value in the image header"},
        {-20, "Incorrect data origin value in the image header"},
        {-21, "Incorrect data alignment value in the image header"},
        {-24, "Incorrect COI of the image"},
        {-25, "Incorrect size of ROI in the image header"}};
    std::map<int, std::string> texts = {{0, "No Error"},
                                        {-1, "Backtrace"},
                                        {-3, "Internal error (bad state)"},
                                        {-4, "Out of memory"},
                                        {-5, "Bad argument"},
                                        {-6, "Unsupported function"},
                                        {-7, "Iteration convergence failed"},
                                        {-8, "Autotrace call"},
                                        {-9, "Null pointer to an image header"},
                                        {-16, "Number of channels for 1U depth image must be one"},
                                        {-22, "Null pointer to callback function"},
                                        {-23, "Incorrect size of the tile"},
                                        {-26, "Mask image is taled"}};
    for (const auto& [code, text] : faults) {
        texts[code] = text;
        texts[code - 100] = "Mask. " + text;
        EXPECT_EQ(tovErrorStr(code - 100) + 6, tovErrorStr(code)) << "one stored text for " << code;
    }
    for (int code = -400; code <= 30; ++code) {
        const auto known = texts.find(code);
        EXPECT_EQ(tovErrorStr(code), known == texts.end() ? kUnknown : known->second) << code;
    }
    EXPECT_STREQ(tovErrorStr(INT32_MIN), kUnknown);
    EXPECT_STREQ(tovErrorStr(INT32_MAX), kUnknown);
}

TEST(Version, Record) {
    const TovLibVersion* version = tovGetLibVersion();
    EXPECT_EQ(version->major, 2);
    EXPECT_EQ(version->minor, 1);
    EXPECT_EQ(version->build, 58);
    EXPECT_STREQ(version->name, "tovP5l.lib");
    EXPECT_STREQ(version->version, "2.1");
    EXPECT_STREQ(version->internalVersion, "[2.1.058, 02/02/99]");
    EXPECT_STREQ(version->buildDate, "Feb  6 1999");
    EXPECT_STREQ(version->compilerTag, "Microsoft*");
    EXPECT_EQ(tovGetLibVersion(), version);
}

TEST(Status, StaysUntilOverwritten) {
    ReportLog log;
    for (TovStatus status : {-5, 77, INT32_MIN, -1}) {
        tovSetErrStatus(status);
        tovSetErrStatus(tovGetErrStatus());
        EXPECT_EQ(tovGetErrStatus(), status);
        tovDeallocate(nullptr, TOV_IMAGE_ALL);
        TovImage* image =
            tovCreateImageHeader(1, 0, TOV_DEPTH_8U, "GRAY", "G", 0, 0, 4, 5, 5, nullptr, nullptr, nullptr, nullptr);
        tovAllocateImage(image, 1, 0);
        tovSet(image, 1);
        tovDeallocate(image, TOV_IMAGE_HEADER | TOV_IMAGE_DATA);
        EXPECT_EQ(tovGetErrStatus(), status);
    }
    EXPECT_TRUE(log.reports.empty());
}

TEST(Error, StoresTheStatusAndCallsTheHandler) {
    ReportLog log(42);
    tovSetErrStatus(-13);
    EXPECT_EQ(tov::tovError(-1, "f", "c", "m", 3), 42);
    EXPECT_EQ(tov::tovError(-8, "g", "d", "n", 4), 42);
    EXPECT_EQ(tovGetErrStatus(), -13);
    EXPECT_EQ(tov::tovError(-10, "h", "", "o", 5), 42);
    EXPECT_EQ(tovGetErrStatus(), -10);
    EXPECT_EQ(tov::tovError(9, "i", "e", "p", 6), 42);
    EXPECT_EQ(tovGetErrStatus(), 9);
    EXPECT_EQ(tov::tovError(0, "j", "e", "p", 7), 0);
    EXPECT_EQ(tovGetErrStatus(), 0);
    EXPECT_EQ(log.reports,
              (Reports{{-1, "f", "c", "m"}, {-8, "g", "d", "n"}, {-10, "h", "", "o"}, {9, "i", "e", "p"}}));
}

TovStatus ignore(TovStatus, const char*, const char*, const char*, int32_t) { return 0; }

TEST(Redirect, GivesTheHandlerThatStood) {
    const TovErrorCallback standard = tovRedirectError(ignore);
    EXPECT_EQ(standard, tov::tovDefaultErrorHandler);
    EXPECT_EQ(tovRedirectError(nullptr), ignore);
    EXPECT_EQ(tovRedirectError(ignore), standard);
    EXPECT_EQ(tovRedirectError(standard), ignore);
}

TEST(Threads, BeginWithNoErrorAndTheDefaultHandler) {
    ReportLog log;
    tovSetErrStatus(-7);
    for (int round = 0; round < 3; ++round) {
        std::thread([] {
            EXPECT_EQ(tovGetErrStatus(), 0);
            EXPECT_EQ(tovRedirectError(ignore), tov::tovDefaultErrorHandler);
            tovAdd(nullptr, nullptr, nullptr);
            EXPECT_EQ(tovGetErrStatus(), -5);
        }).join();
    }
    EXPECT_EQ(tovGetErrStatus(), -7);
    EXPECT_TRUE(log.reports.empty());
    EXPECT_EQ(tov::tovGetContext()->status, -7);
    EXPECT_EQ(tov::tovGetContext(), tov::tovGetContext());
}

TEST(Context, InitIgnoresNull) {
    tov::tovInitContext(nullptr);
    tov::TovContext context{-3, ignore};
    tov::tovInitContext(&context);
    EXPECT_EQ(context.status, 0);
    EXPECT_EQ(context.handler, tov::tovDefaultErrorHandler);
}

TEST(DefaultHandlerDeathTest, EndsTheProcessInSilence) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(tovAdd(nullptr, nullptr, nullptr), testing::ExitedWithCode(1), "^$");
    EXPECT_EXIT(tov::tovError(-1, "f", "c", "m", 1), testing::ExitedWithCode(1), "^$");
    EXPECT_EXIT(std::thread([] { tovSet(nullptr, 0); }).join(), testing::ExitedWithCode(1), "^$");
}

// As when one thread ends the process while another one is at work.
TEST(DetachDeathTest, OtherThreadsKeepTheirContext) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto endInTheMiddle = [] {
        std::promise<void> began, detached;
        std::thread worker([&] {
            tovRedirectError(ignore);
            tovSetErrStatus(-5);
            began.set_value();
            detached.get_future().wait();
            tovAdd(nullptr, nullptr, nullptr);
            std::_Exit(tovGetErrStatus() == -5 ? 17 : 18);
        });
        began.get_future().wait();
        tov::detachProcess();
        detached.set_value();
        worker.join();
    };
    EXPECT_EXIT(endInTheMiddle(), testing::ExitedWithCode(17), "^$");
}

TEST(ContextDeathTest, AThreadWithoutContextEndsTheProcessWithAText) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto beginTooLate = [] {
        tov::detachProcess();
        std::thread([] { tovGetErrStatus(); }).join();
    };
    EXPECT_EXIT(beginTooLate(), testing::KilledBySignal(SIGABRT),
                "^Problem to allocate memory for TLS TOV context\\.\n$");
}

} // namespace
} // namespace tovtest
