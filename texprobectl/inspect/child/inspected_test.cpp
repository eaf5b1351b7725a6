#include "inspect/child/inspected_test.h"

// Before the test code.
#include "inspect/child/recorded_gl.h"

#include <measuring/driver.h>
#include <measuring/probe.h>
#include <records/formats.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "inspect/child/recorder.h"

namespace texprobe::ctl {

namespace {

/// Ends the replay after the inspected test.
struct Inspected {};

void say(const std::string& text) {
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

void write_image(const std::string& folder, const char* name, std::size_t test,
                 const std::optional<Image>& image) {
    if (!image) return;
    const std::string file = std::string(name) + '.' + std::to_string(test);
    std::ofstream stream(folder + '/' + file, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(image->bytes.data()),
                 static_cast<std::streamsize>(image->bytes.size()));
    if (!stream.flush()) throw std::runtime_error("cannot write " + folder + '/' + file);
    say("image " + std::string(name) + ' ' + std::to_string(test) + ' ' +
        std::to_string(image->layout.format) + ' ' + std::to_string(image->layout.type));
}

/// Follows the test code from test to test.
class Inspector {
public:
    explicit Inspector(const InspectionOrder& order) : order_(order) {}

    /// Called before test `number`, and after the last one.
    void reach(std::size_t number) {
        if (number > 0) keep_images(number - 1);
        const std::size_t inspected = number_of(order_.cell);
        if (number > inspected) throw Inspected();
        say("test " + std::to_string(number));
        if (number == inspected) begin();
    }

    void begin() const {
        std::fprintf(stderr, "%s\n", kTestBegins);
        Recorder::instance().turn_on();
    }

    void keep_images(std::size_t number) const {
        const RecordedImages images = Recorder::instance().take_images();
        write_image(order_.folder, kSentImage, number, images.sent);
        write_image(order_.folder, kReturnedImage, number, images.returned);
        write_image(order_.folder, kKeptImage, number, images.kept);
    }

private:
    const InspectionOrder& order_;
};

void replay(CFStringRef appID, Inspector* inspector) {
    std::size_t next = 0;
    __betweenTests = [&] { inspector->reach(next++); };
    try {
        test_texture_format_caps(appID, 0);
        inspector->reach(next);
    } catch (const Inspected&) {
        // What the test has left in OpenGL goes with the context.
        __betweenTests = nullptr;
    }
}

void run_alone(CFStringRef appID, const Cell& cell, const Inspector& inspector) {
    const std::size_t number = number_of(cell);
    for (const TextureFormat& format : texture_formats()) {
        if (format.internalFormat != kFormats[cell.format].internalFormat) continue;
        say("test " + std::to_string(number));
        inspector.begin();
        const FlagKeys keys(format.key);
        const CapabilityTest& test = kCapabilityTests[cell.capability];
        run_guarded(test, keys[test.capability], appID, format.internalFormat, format.key);
        inspector.keep_images(number);
    }
}

InspectionOrder order_from(const std::vector<std::string>& words) {
    if (words.size() != 5) throw std::invalid_argument("inspect expects five arguments");
    InspectionOrder order;
    order.folder = words[0];
    order.renderer = static_cast<std::uint32_t>(std::stoul(words[1], nullptr, 16));
    order.cell = cell_of(std::stoul(words[2]));
    order.patternsBefore = static_cast<unsigned>(std::stoul(words[3]));
    order.isAlone = words[4] == "alone";
    return order;
}

}  // namespace

std::vector<std::string> words_of(const InspectionOrder& order) {
    std::array<char, 16> renderer;
    std::snprintf(renderer.data(), renderer.size(), "%x", order.renderer);
    return {order.folder, renderer.data(), std::to_string(number_of(order.cell)),
            std::to_string(order.patternsBefore), order.isAlone ? "alone" : "replay"};
}

/// The steps of the tool's run on one renderer, without the turn and the records.
int inspect_as_child(const std::vector<std::string>& arguments) {
    const InspectionOrder order = order_from(arguments);
    for (unsigned i = 0; i < order.patternsBefore; ++i) static_cast<void>(random());
    const auto renderer = static_cast<GLint>(order.renderer);
    const CFStringRef appID = create_application_id(renderer);
    const OffscreenContext context(renderer);
    read_extensions(appID);
    set_up_render_target();
    Inspector inspector(order);
    if (order.isAlone) {
        run_alone(appID, order.cell, inspector);
    } else {
        replay(appID, &inspector);
    }
    Recorder::instance().turn_off();
    release(appID);
    return 0;
}

}  // namespace texprobe::ctl
