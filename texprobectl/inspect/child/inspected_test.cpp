#include "inspect/child/inspected_test.h"

// Before the test code.
#include "inspect/child/recorded_gl.h"

#include <measuring/capability_tests.h>
#include <measuring/offscreen_context.h>
#include <measuring/render_target.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
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
    const std::string file = fmt::format("{}/{}.{}", folder, name, test);
    std::ofstream stream(file, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(image->bytes.data()),
                 static_cast<std::streamsize>(image->bytes.size()));
    if (!stream.flush()) throw std::runtime_error("cannot write " + file);
    say(fmt::format("image {} {} {} {}", name, test, image->layout.format, image->layout.type));
}

bool has_cell(const std::vector<Cell>& cells, const Cell& cell) {
    return std::find(cells.begin(), cells.end(), cell) != cells.end();
}

void keep_images(const InspectionOrder& order, const Cell& cell) {
    const RecordedImages images = Recorder::instance().take_images();
    if (order.mode == InspectionMode::kImages && !has_cell(order.cells, cell)) return;
    write_image(order.folder, kSentImage, number_of(cell), images.sent);
    write_image(order.folder, kReturnedImage, number_of(cell), images.returned);
    write_image(order.folder, kKeptImage, number_of(cell), images.kept);
}

/// Runs one test as in a first run of the tool: nothing is recorded yet.
bool run(const CapabilityTest& test, const Cell& cell, const InspectionOrder& order) {
    const bool verdict = test.run(kFormats[cell.format].internalFormat);
    say(fmt::format("verdict {} {:d}", number_of(cell), verdict));
    keep_images(order, cell);
    return verdict;
}

/// Before each test, whether it applies or not. Only the inspected one is recorded.
void reach(const Cell& cell, const InspectionOrder& order) {
    say("test " + std::to_string(number_of(cell)));
    if (order.mode == InspectionMode::kImages || cell != order.cells.back()) return;
    std::fprintf(stderr, "%s\n", kTestBegins);
    Recorder::instance().turn_on();
}

/// The tool's pass, to the last of the cells.
void replay(const InspectionOrder& order) {
    const Cell last = order.cells.back();
    for (std::size_t format = 0; format <= last.format; ++format) {
        for_each_test([&](const CapabilityTest& test, bool applies) {
            const Cell cell = {format, test.capability};
            if (number_of(cell) > number_of(last)) return false;
            reach(cell, order);
            return applies && !has_cell(order.leftOut, cell) && run(test, cell, order);
        });
    }
}

/// "12,13": their numbers.
std::string words_of(const std::vector<Cell>& cells) {
    std::string text;
    for (const Cell& cell : cells) {
        if (!text.empty()) text += ',';
        text += std::to_string(number_of(cell));
    }
    return text;
}

std::vector<Cell> cells_from(const std::string& words) {
    std::vector<Cell> cells;
    std::istringstream text(words);
    for (std::string number; std::getline(text, number, ',');) {
        cells.push_back(cell_of(std::stoul(number)));
    }
    return cells;
}

InspectionOrder order_from(const std::vector<std::string>& words) {
    if (words.size() != 6) throw std::invalid_argument("inspect expects six arguments");
    InspectionOrder order;
    order.folder = words[0];
    order.renderer = words[1];
    order.cells = cells_from(words[2]);
    order.patternsBefore = static_cast<unsigned>(std::stoul(words[3]));
    order.mode = static_cast<InspectionMode>(std::stoi(words[4]));
    order.leftOut = cells_from(words[5]);
    if (order.cells.empty()) throw std::invalid_argument("inspect expects a test");
    return order;
}

}  // namespace

std::vector<std::string> words_of(const InspectionOrder& order) {
    return {order.folder,
            order.renderer,
            words_of(order.cells),
            std::to_string(order.patternsBefore),
            std::to_string(static_cast<int>(order.mode)),
            words_of(order.leftOut)};
}

/// The steps of the tool's run on one renderer, without the turn and the records.
int inspect_as_child(const std::vector<std::string>& arguments) {
    const InspectionOrder order = order_from(arguments);
    for (unsigned i = 0; i < order.patternsBefore; ++i) static_cast<void>(random());
    const OffscreenContext context(static_cast<GLint>(std::stoul(order.renderer, nullptr, 16)));
    read_extensions([](const char*, bool) {});
    set_up_render_target();
    if (order.mode == InspectionMode::kAlone) {
        const Cell& cell = order.cells.back();
        reach(cell, order);
        run(kCapabilityTests[cell.capability], cell, order);
    } else {
        replay(order);
    }
    Recorder::instance().turn_off();
    return 0;
}

}  // namespace texprobe::ctl
