#include "fakes.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace fakes {

namespace {

int number(const std::string& word) {
    return static_cast<int>(std::stoll(word, nullptr, 0));
}

std::string rest_of(std::istringstream& line) {
    std::string text;
    std::getline(line >> std::ws, text);
    return text;
}

Renderer default_renderer(std::istringstream& line) {
    std::string mask, id, memory;
    line >> mask >> id >> memory;
    return {static_cast<std::uint32_t>(number(mask)),
            number(id),
            number(memory),
            {{"GL_VENDOR", "Fake Vendor"},
             {"GL_VERSION", "2.1 Fake"},
             {"GL_RENDERER", "Fake Renderer"},
             {"GL_EXTENSIONS", "GL_EXT_framebuffer_object GL_ARB_pixel_buffer_object"}}};
}

Event death(std::istringstream& line) {
    Event result;
    std::string way, place;
    line >> way >> place;
    if (place == "in") line >> result.key;
    result.once = place == "once";
    if (result.once) line >> place;
    line >> result.call;
    result.happens = [way] { die(way); };
    return result;
}

Event interruption(std::istringstream& line) {
    Event result;
    line >> result.call;
    std::vector<std::pair<std::string, unsigned>> signals;
    std::string signal;
    for (unsigned milliseconds = 0; line >> signal; line >> milliseconds) {
        signals.emplace_back(signal, milliseconds);
    }
    result.happens = [signals] { interrupt(signals); };
    return result;
}

Event pause(std::istringstream& line) {
    Event result;
    std::string word;
    line >> word;
    result.once = word == "once";
    if (result.once) line >> word;
    result.call = static_cast<unsigned>(number(word));
    int milliseconds = 0;
    line >> milliseconds;
    const std::chrono::milliseconds length(milliseconds);
    result.happens = [length] { std::this_thread::sleep_for(length); };
    return result;
}

void obey(const std::string& order, std::istringstream& line, Script* script) {
    std::string first, second, third;
    if (order == "renderer") {
        script->renderers.push_back(default_renderer(line));
    } else if (order == "die") {
        script->events.push_back(death(line));
    } else if (order == "interrupt") {
        script->events.push_back(interruption(line));
    } else if (order == "pause") {
        script->events.push_back(pause(line));
    } else if (order == "build") {
        script->build = rest_of(line);
    } else if (order == "records") {
        script->records = rest_of(line);
    } else if (order == "observe") {
        script->observes = true;
    } else if (order == "log") {
        script->log = true;
    } else if (order == "null") {
        line >> first;
        script->renderers.back().strings[first].reset();
    } else if (order == "string") {
        line >> first;
        script->renderers.back().strings[first] = rest_of(line);
    } else if (order == "incomplete") {
        line >> first;
        script->incomplete.insert(enumerant(first));
    } else if (line >> first >> second; order == "display") {
        script->displays.push_back({static_cast<std::uint32_t>(number(first)),
                                    static_cast<std::uint32_t>(number(second))});
    } else if (order == "substitute") {
        line >> third;
        script->substitutes[{enumerant(first), enumerant(second)}] = enumerant(third);
    } else if (order == "change") {
        script->changes[first] = std::stoul(second);
    } else if (order == "fail") {
        Failure& failure = script->failures[first];
        failure.code = number(second);
        if (unsigned call = 0; line >> call) failure.call = call;
    } else {
        throw std::runtime_error("unknown order to the fakes: " + order);
    }
}

Script read_script() {
    Script script;
    script.records = std::filesystem::path(beside_executable("")).parent_path() / "records";
    std::ifstream file(beside_executable(".script"));
    for (std::string text, order; std::getline(file, text);) {
        std::istringstream line(text);
        if (line >> order) obey(order, line, &script);
    }
    return script;
}

}  // namespace

std::string beside_executable(const char* suffix) {
    return std::filesystem::read_symlink("/proc/self/exe").string() + suffix;
}

const Script& script() {
    static const Script orders = read_script();
    return orders;
}

}  // namespace fakes
