#include "page/whys.h"

#include <fmt/format.h>

#include <algorithm>

namespace texprobe::ctl {

namespace {

std::string id_of(std::size_t number) {
    return "why" + std::to_string(number + 1);
}

/// Puts those together that differ here only.
std::vector<Whys::Place> told_together(const std::vector<Whys::Place>& places, Whys::Where where) {
    std::vector<Whys::Place> together;
    for (const Whys::Place& place : places) {
        const auto same = std::find_if(together.begin(), together.end(), [&](Whys::Place other) {
            other[where] = place[where];
            return other == place;
        });
        if (same == together.end()) {
            together.push_back(place);
        } else {
            (*same)[where] += ", " + place[where];
        }
    }
    return together;
}

std::string describe_place(const Whys::Place& place) {
    std::string text = place[Whys::kFormat] + ": " + place[Whys::kUse];
    if (!place[Whys::kLayout].empty()) text += " in " + place[Whys::kLayout];
    if (!place[Whys::kContext].empty()) text += "; " + place[Whys::kContext];
    if (!place[Whys::kDriver].empty()) text += "; on " + place[Whys::kDriver];
    return text;
}

}  // namespace

std::string Whys::add(Kind kind, const std::string& sentence, const Place& place) {
    const auto same = std::find_if(whys_.begin(), whys_.end(), [&](const Why& why) {
        return why.kind == kind && why.sentence == sentence;
    });
    last_ = static_cast<std::size_t>(same - whys_.begin());
    if (same == whys_.end()) whys_.push_back({kind, sentence, {}});
    std::vector<Place>& places = whys_[last_].places;
    if (std::find(places.begin(), places.end(), place) == places.end()) places.push_back(place);
    return id_of(last_);
}

void Whys::show(const std::string& name, const Pictures& pictures) {
    std::vector<std::pair<std::string, Pictures>>& shown = whys_[last_].pictures;
    const bool isNew = std::none_of(shown.begin(), shown.end(), [&](const auto& other) {
        return other.second.sent == pictures.sent && other.second.returned == pictures.returned &&
               other.second.difference == pictures.difference;
    });
    if (isNew) shown.emplace_back(name, pictures);
}

void Whys::write(const Why& why, const std::string& id, PageSection* section) {
    section->paragraph(why.sentence, id);
    std::vector<Place> places = why.places;
    for (int where = 0; where < kWhereCount; ++where) {
        places = told_together(places, static_cast<Where>(where));
    }
    std::vector<std::string> lines(places.size());
    std::transform(places.begin(), places.end(), lines.begin(), describe_place);
    section->list(lines);
    for (const auto& [name, pictures] : why.pictures) {
        const std::string factor = fmt::format("{:.3g}", pictures.amplification);
        section->pictures(name, {{"sent", pictures.sent},
                                 {"came back", pictures.returned},
                                 {factor == "1" ? "difference" : "difference, " + factor + " times",
                                  pictures.difference}});
    }
}

PageSection Whys::section() const {
    constexpr std::pair<Kind, const char*> kKinds[] = {
        {kOfTool, "The sixteen formats"},
        {kBrokenPromise, "The survey: promises that are not kept"},
        {kNoPromise, "The survey: not promised, or not known"}};
    PageSection section("noes", "Each no, and why");
    for (const auto& [kind, heading] : kKinds) {
        bool hasHeading = false;
        for (std::size_t i = 0; i < whys_.size(); ++i) {
            if (whys_[i].kind != kind) continue;
            if (!std::exchange(hasHeading, true)) section.subheading(heading);
            write(whys_[i], id_of(i), &section);
        }
    }
    return section;
}

}  // namespace texprobe::ctl
