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
/// Replaces functions of the table.
using Fault = std::function<void(Gl*)>;

/// The functions without the fault.
inline Gl real;

/// The arguments of a call that defines a texture or sends a part of one.
struct SendingCall {
    Enum target = 0;
    Enum internalFormat = 0;
    int width = 0;
    int height = 0;
    Enum format = 0;
    Enum type = 0;
    const void* from = nullptr;
    int x = 0;
    int y = 0;
    int blockBytes = 0;
    bool isStorage = false;
};

/// What becomes of them before the driver has them.
using Change = std::function<void(SendingCall*)>;
inline Change changeDefinition, changePart;

inline void change_definitions(Gl* gl, const Change& change) {
    changeDefinition = change;
    gl->TexImage2D = [](Enum target, int level, int internalFormat, int width, int height,
                        int border, Enum format, Enum type, const void* pixels) {
        SendingCall call = {target, static_cast<Enum>(internalFormat), width, height, format, type,
                            pixels};
        changeDefinition(&call);
        real.TexImage2D(call.target, level, static_cast<int>(call.internalFormat), width, height,
                        border, call.format, call.type, pixels);
    };
    gl->CompressedTexImage2D = [](Enum target, int level, Enum format, int width, int height,
                                  int border, int size, const void* blocks) {
        SendingCall call = {target, format, width, height, 0, 0, blocks, 0, 0, size};
        changeDefinition(&call);
        real.CompressedTexImage2D(call.target, level, format, width, height, border, size,
                                  call.from);
    };
    gl->TexStorage2D = [](Enum target, int levels, Enum format, int width, int height) {
        SendingCall call = {target, format, width, height};
        call.isStorage = true;
        changeDefinition(&call);
        real.TexStorage2D(call.target, levels, call.internalFormat, width, height);
    };
}

inline void change_parts(Gl* gl, const Change& change) {
    changePart = change;
    gl->TexSubImage2D = [](Enum target, int level, int x, int y, int width, int height, Enum format,
                           Enum type, const void* pixels) {
        SendingCall call = {target, 0, width, height, format, type, pixels, x, y};
        changePart(&call);
        real.TexSubImage2D(target, level, x, y, call.width, call.height, call.format, type,
                           call.from);
    };
    gl->CompressedTexSubImage2D = [](Enum target, int level, int x, int y, int width, int height,
                                     Enum format, int size, const void* blocks) {
        SendingCall call = {target, format, width, height, 0, 0, blocks, x, y, size};
        changePart(&call);
        real.CompressedTexSubImage2D(target, level, call.x, call.y, call.width, call.height, format,
                                     call.blockBytes, call.from);
    };
}

inline Fault fault_of_definitions(const Change& change) {
    return [change](Gl* gl) { change_definitions(gl, change); };
}
inline Fault fault_of_parts(const Change& change) {
    return [change](Gl* gl) { change_parts(gl, change); };
}

/// Linear sampling gives the nearest texel.
inline void sample_nearest(Gl* gl) {
    gl->TexParameteri = [](Enum target, Enum name, int value) {
        real.TexParameteri(target, name, value == gl::kLinear ? gl::kNearest : value);
    };
}

/// A context on softpipe that gets a fault when the judge has checked itself.
struct FaultyContext {
    FaultyContext(Profile profile, const Fault& fault)
        : offscreen(software_renderer(), profile),
          context(describe_current_context(profile)),
          judge(context) {
        EXPECT_EQ(judge.trouble(), "");
        real = context.gl;
        fault(&context.gl);
    }

    const ProfileContext offscreen;
    SurveyContext context;
    const Judge judge;

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

class SurveyWithFault : public testing::Test {
protected:
    static void SetUpTestSuite() { setenv("GALLIUM_DRIVER", "softpipe", 1); }

    /// The verdicts on these formats and questions that are no yes, on the driver with this fault.
    static FaultyVerdicts find_faulty(const std::vector<const char*>& names, Profile profile,
                                      const Fault& fault,
                                      const std::function<bool(const Question&)>& isAsked) {
        const FaultyContext faulty(profile, fault);
        FaultyVerdicts found;
        for (const char* name : names) {
            const Format& format = *find_format(name);
            const Work work(faulty.context, faulty.judge, format);
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
};

}  // namespace texprobe::survey

#endif
