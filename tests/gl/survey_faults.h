// The verdicts of the survey on a driver with one fault, which is another table of functions over
// Mesa's softpipe.

#ifndef TEXPROBE_TESTS_SURVEY_FAULTS_H
#define TEXPROBE_TESTS_SURVEY_FAULTS_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "uses/uses.h"

namespace texprobe::survey {

using FaultyVerdicts = std::map<std::string, std::string>;

/// The functions without the fault.
inline Gl real;

class SurveyWithFault : public testing::Test {
protected:
    static void SetUpTestSuite() { setenv("GALLIUM_DRIVER", "softpipe", 1); }

    /// The verdicts on these formats and questions that are no yes, on the driver with this fault.
    static FaultyVerdicts find_faulty(const std::vector<const char*>& names, Profile profile,
                                      const std::function<void(Gl*)>& fault,
                                      const std::function<bool(const Question&)>& isAsked) {
        const ProfileContext offscreen(software_renderer(), profile);
        EXPECT_TRUE(offscreen.is_current());
        SurveyContext context = describe_current_context(profile);
        const Judge judge(context);
        EXPECT_EQ(judge.trouble(), "");
        real = context.gl;
        fault(&context.gl);
        FaultyVerdicts found;
        for (const char* name : names) {
            const Format& format = *find_format(name);
            const Work work(context, judge, format);
            FormatRecord record;
            for (const Question& question : questions_of(format, profile)) {
                if (!isAsked(question)) continue;
                record.uses[question] = answer(work, question, record).judged;
                const Verdict verdict = record.uses[question].verdict;
                if (verdict == Verdict::kYes) continue;
                found[std::string(name) + ' ' + name_of(question)] = name_of(verdict);
            }
        }
        return found;
    }

    /// What is said of one use on such a driver, after the texture could be created.
    static std::string text_of_wrong(const char* name, Use use,
                                     const std::function<void(Gl*)>& fault) {
        const ProfileContext offscreen(software_renderer(), Profile::kCore);
        SurveyContext context = describe_current_context(Profile::kCore);
        const Judge judge(context);
        real = context.gl;
        fault(&context.gl);
        FormatRecord record;
        record.uses[Use::kCreate] = {Verdict::kYes, ""};
        const Judged judged = answer(Work(context, judge, *find_format(name)), use, record).judged;
        EXPECT_EQ(judged.verdict, Verdict::kWrong);
        return judged.text;
    }

private:
    static GLint software_renderer() {
        CGLRendererInfoObj info = nullptr;
        GLint count = 0;
        GLint id = 0;
        CGLQueryRendererInfo(1, &info, &count);
        CGLDescribeRenderer(info, count - 1, kCGLRPRendererID, &id);
        CGLDestroyRendererInfo(info);
        return id;
    }
};

}  // namespace texprobe::survey

#endif
