#include "inspect/child/inspected_test.h"

// Before the test code.
#include "inspect/child/recorded_gl.h"

#include <measuring/capability_tests.h>
#include <measuring/offscreen_context.h>
#include <measuring/render_target.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "inspect/child/recorder.h"

namespace texprobe::ctl {

namespace {

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

void keep_images(const std::string& folder, std::size_t test) {
    const RecordedImages images = Recorder::instance().take_images();
    write_image(folder, kSentImage, test, images.sent);
    write_image(folder, kReturnedImage, test, images.returned);
    write_image(folder, kKeptImage, test, images.kept);
}

/// Runs one test as in a first run of the tool: nothing is recorded yet.
bool run(const CapabilityTest& test, const Cell& cell, const std::string& folder) {
    const bool verdict = test.run(kFormats[cell.format].internalFormat);
    say("verdict " + std::to_string(number_of(cell)) + (verdict ? " 1" : " 0"));
    keep_images(folder, number_of(cell));
    return verdict;
}

/// Before each test, whether it applies or not. What is recorded is the inspected one.
void reach(const Cell& cell, const Cell& inspected) {
    say("test " + std::to_string(number_of(cell)));
    if (cell != inspected) return;
    std::fprintf(stderr, "%s\n", kTestBegins);
    Recorder::instance().turn_on();
}

/// The tool's pass, to the inspected test.
void replay(const InspectionOrder& order) {
    for (std::size_t format = 0; format <= order.cell.format; ++format) {
        for_each_test([&](const CapabilityTest& test, bool applies) {
            const Cell cell = {format, test.capability};
            if (number_of(cell) > number_of(order.cell)) return false;
            reach(cell, order.cell);
            return applies && run(test, cell, order.folder);
        });
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
    const OffscreenContext context(static_cast<GLint>(order.renderer));
    read_extensions([](const char*, bool) {});
    set_up_render_target();
    if (order.isAlone) {
        reach(order.cell, order.cell);
        run(kCapabilityTests[order.cell.capability], order.cell, order.folder);
    } else {
        replay(order);
    }
    Recorder::instance().turn_off();
    return 0;
}

}  // namespace texprobe::ctl
