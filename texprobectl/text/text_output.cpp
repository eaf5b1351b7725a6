#include <fmt/format.h>

#include <algorithm>

#include "records/plain_text.h"
#include "records/turn.h"
#include "text/output.h"
#include "text/text_matrix.h"
#include "text/text_merged.h"

namespace texprobe::ctl {

namespace {

std::string cell_name(const Cell& cell) {
    return fmt::format("{} {}", kFormats[cell.format].name, kCapabilities[cell.capability].words);
}

/// The words for the marks that occur, in the order of the verdicts.
std::string explain(const RecordSets& sets, const Terminal& terminal) {
    bool occurs[kVerdictCount] = {};
    for (const RecordSet& set : sets) {
        for_each_cell(
            [&](const Cell& cell) { occurs[static_cast<std::size_t>(set.verdict(cell))] = true; });
    }
    const auto has = [&](Verdict verdict) { return occurs[static_cast<std::size_t>(verdict)]; };
    const auto mark = [&](Verdict verdict) { return show_verdict(verdict, terminal).text; };
    std::string text;
    const auto add = [&](Verdict verdict, const char* meaning) {
        if (has(verdict)) text += fmt::format("{}: {}\n", mark(verdict), meaning);
    };
    add(Verdict::kUnmeasured, "not measured yet");
    add(Verdict::kNotApplicable, "not applicable, because a capability that it needs is a no");
    return text;
}

class TextOutput : public Output {
public:
    TextOutput(std::ostream& stream, const Terminal& terminal)
        : stream_(stream), terminal_(terminal) {}

    void list(const RecordSets& all) override {
        if (all.empty()) {
            stream_ << "Nothing is recorded yet: `texprobectl measure` measures this machine.\n";
            return;
        }
        RecordSets plainSets;
        for (const RecordSet& set : all) plainSets.push_back(plain(set));
        write_list(plainSets);
    }

    void show(const RecordSets& sets) override {
        bool hasUnseenNo = false;
        for (const RecordSet& set : sets) {
            write_heading(plain(set));
            stream_ << '\n';
            write_matrix(
                [&](const Cell& cell) { return show_verdict(set.verdict(cell), terminal_); },
                terminal_, stream_);
            stream_ << '\n';
            write_details(plain(set));
            hasUnseenNo |= set.hasUnseenNo;
        }
        stream_ << explain(sets, terminal_);
        if (hasUnseenNo) {
            stream_ << "A no that was recorded without `texprobectl measure` may have been a "
                       "crash.\n";
        }
    }

    void comparison(const Comparison& comparison) override {
        for (const ComparedSets& pair : comparison.pairs) {
            if (!pair.differences.empty()) {
                write_pair({plain(pair.a), plain(pair.b), pair.differences});
            }
        }
        for (const RecordSet& set : comparison.onlyA)
            stream_ << "Only in A: " << plain(set.id) << '\n';
        for (const RecordSet& set : comparison.onlyB)
            stream_ << "Only in B: " << plain(set.id) << '\n';
    }

    void merged(const Merged& merged) override { write_merged_text(merged, terminal_, stream_); }

    void diagnosis(const Diagnosis& diagnosis) override {
        item("texprobectl", diagnosis.version);
        item("texprobe", diagnosis.tool.empty() ? "not found" : diagnosis.tool);
        item("system", diagnosis.system);
        item("build", diagnosis.systemBuild);
        item("displays", std::to_string(diagnosis.displays));
        if (!diagnosis.trouble.empty()) item("trouble", diagnosis.trouble);
        for (const ExaminedRenderer& renderer : diagnosis.renderers) write_renderer(renderer);
        if (diagnosis.renderers.empty()) item("renderers", "none");
        write_store(diagnosis.store);
        item("record sets", std::to_string(diagnosis.recordSets));
        item("measuring now",
             diagnosis.measuring == 0 ? "no process" : name_of_holder(diagnosis.measuring));
        for (const auto& [name, value] : diagnosis.variables) {
            item("variable", fmt::format("{}={}", name, value));
        }
    }

private:
    struct Columns {
        std::size_t id = 2;
        std::size_t renderer = 8;
        std::size_t driver = 6;
        /// 0: left out.
        std::size_t build = 5;
        std::size_t state = 8;

        std::size_t all() const {
            return 2 + 2 + id + 2 + renderer + 2 + driver + (build == 0 ? 0 : 2 + build) + 2 +
                   state;
        }
    };

    void write_list(const RecordSets& all) {
        Columns columns;
        for (const RecordSet& set : all) {
            columns.id = std::max(columns.id, short_id(set, all).size());
            columns.renderer = std::max(columns.renderer, renderer_name(set).size());
            columns.driver = std::max(columns.driver, short_driver(set.glVersion).size());
            columns.build = std::max(columns.build, set.systemBuild.size());
            columns.state = std::max(columns.state, list_state(set).size());
        }
        fit(&columns);
        write_row(columns, "#", "id", "renderer", "driver", "build", "measured");
        std::size_t number = 0;
        for (const RecordSet& set : all) {
            write_row(columns, std::to_string(++number), short_id(set, all), renderer_name(set),
                      short_driver(set.glVersion), set.systemBuild, list_state(set));
        }
    }

    static std::string list_state(const RecordSet& set) {
        return describe_state(set) + (set.isPresent ? ", present" : "");
    }

    /// On a terminal, the names give way first, then the build, which is in the identifier where it
    /// tells sets apart. A set whose identifier is cut has its number.
    void fit(Columns* columns) const {
        if (!terminal_.isTerminal) return;
        const auto width = static_cast<std::size_t>(terminal_.width);
        const auto shorten = [&](std::size_t* column) {
            constexpr std::size_t kLeast = 10;
            const std::size_t over = columns->all() - std::min(columns->all(), width);
            if (over > 0 && *column > kLeast) {
                *column = std::max(kLeast, *column - std::min(*column, over));
            }
        };
        for (auto* column : {&columns->renderer, &columns->driver, &columns->build})
            shorten(column);
        if (columns->all() > width) columns->build = 0;
        shorten(&columns->id);
    }

    void write_row(const Columns& columns, const std::string& number, const std::string& id,
                   const std::string& renderer, const std::string& driver, const std::string& build,
                   const std::string& state) {
        const auto cut = [&](const std::string& text, std::size_t width) {
            return fmt::format("{:<{}}", shortened(text, static_cast<int>(width)), width);
        };
        stream_ << fmt::format("{:>2}  {}  {}  {}  {}{}\n", number, cut(id, columns.id),
                               cut(renderer, columns.renderer), cut(driver, columns.driver),
                               columns.build == 0 ? "" : cut(build, columns.build) + "  ", state);
    }

    void write_heading(const RecordSet& set) {
        stream_ << coloured(renderer_name(set), kBold, terminal_) << '\n';
        stream_ << fmt::format("{}, {}\n", set.glVersion.value_or("unknown driver"),
                               set.vendor.value_or("unknown vendor"));
        stream_ << set.id << '\n';
        stream_ << fmt::format("{}; {}\n", describe_state(set),
                               set.isPresent ? "of this machine's present build"
                                             : "not of this machine's present build");
    }

    void write_details(const RecordSet& set) {
        for (const Detail& detail : set.details) {
            stream_ << fmt::format("{}: {}\n", cell_name(detail.cell), describe(detail.cause));
        }
        if (!set.details.empty()) stream_ << '\n';
    }

    void write_pair(const ComparedSets& pair) {
        stream_ << fmt::format("A: {}\n   {}, {}\n", pair.a.id, renderer_name(pair.a),
                               short_driver(pair.a.glVersion));
        stream_ << fmt::format("B: {}\n   {}, {}\n\n", pair.b.id, renderer_name(pair.b),
                               short_driver(pair.b.glVersion));
        stream_ << fmt::format("{:<41}{:>10}{:>10}\n", "", "A", "B");
        for (const Difference& difference : pair.differences) {
            stream_ << fmt::format("{:<41}", cell_name(difference.cell));
            for (const Verdict verdict : {difference.a, difference.b}) {
                const Shown shown = show_verdict(verdict, terminal_);
                stream_ << std::string(10 - shown.width, ' ')
                        << coloured(shown.text, shown.colour, terminal_);
            }
            stream_ << '\n';
        }
        stream_ << '\n';
    }

    void item(const char* name, const std::string& text) {
        stream_ << fmt::format("{:<15}{}\n", name, plain(text));
    }

    void write_renderer(const ExaminedRenderer& renderer) {
        item("renderer",
             renderer.canBeOpened
                 ? fmt::format("{}, can be opened, {} MB", renderer.rendererID, *renderer.megabytes)
                 : fmt::format("{}, cannot be opened: {}", renderer.rendererID, renderer.trouble));
        if (renderer.canBeOpened) {
            item("", fmt::format("{}, {}", renderer.renderer, renderer.vendor));
            item("", renderer.glVersion);
        }
        for (const std::string& message : renderer.messages) item("", message);
    }

    void write_store(const ExaminedStore& store) {
        item("records", store.place);
        if (store.exists) {
            item("", fmt::format("owner {}, folder {}, file {}, {} bytes",
                                 store.isOwn ? "you" : "another user", store.folderMode,
                                 store.fileMode, store.bytes));
        }
        item("", store.health);
    }

    std::ostream& stream_;
    const Terminal terminal_;
};

}  // namespace

std::unique_ptr<Output> make_text_output(std::ostream& stream, const Terminal& terminal) {
    return std::make_unique<TextOutput>(stream, terminal);
}

}  // namespace texprobe::ctl
