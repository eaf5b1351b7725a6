#include <memory>

#include "commands/commands.h"
#include "doctor/doctor.h"
#include "documents/write_json.h"
#include "measure/find_program.h"
#include "process/stop_signals.h"
#include "text/write_text.h"

namespace texprobe::ctl {

void add_doctor(CLI::App* app, Session* session) {
    CLI::App* command = app->add_subcommand(
        "doctor", "The diagnosis to send with a problem; names no user and no host");
    const auto json = std::make_shared<bool>();
    add_json(command, json.get());
    command->callback([=] {
        const StopSignals stopSignals;
        const Diagnosis diagnosis =
            examine(session->self, find_program(session->self, kToolProgram));
        print([&](const Terminal&, std::ostream& stream) {
            if (*json) return write_diagnosis_json(diagnosis, stream);
            write_diagnosis_text(diagnosis, stream);
        });
    });
}

}  // namespace texprobe::ctl
