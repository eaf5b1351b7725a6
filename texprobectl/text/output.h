// The forms of output: a command's result, for people or for programs. A form is one file;
// a command that has something new to say adds a function here.

#ifndef TEXPROBECTL_OUTPUT_H
#define TEXPROBECTL_OUTPUT_H

#include <memory>
#include <ostream>

#include "doctor/doctor.h"
#include "documents/merge.h"
#include "measure/measure.h"
#include "process/terminal.h"
#include "records/catalogue.h"
#include "records/compare.h"

namespace texprobe::ctl {

class Output {
public:
    Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    virtual ~Output() = default;

    virtual void list(const RecordSets& all) = 0;
    virtual void show(const RecordSets& sets) = 0;
    virtual void comparison(const Comparison& comparison) = 0;
    virtual void merged(const Merged& merged) = 0;
    virtual void diagnosis(const Diagnosis& diagnosis) = 0;
};

/// Readable at 80 columns.
std::unique_ptr<Output> make_text_output(std::ostream& stream, const Terminal& terminal);
/// Documents, each valid against the installed schema.
std::unique_ptr<Output> make_json_output(std::ostream& stream);

/// The changes by measuring, for people: against the records before, or against the build
/// before.
void write_changes(const MeasureResult& result, std::ostream& stream, const Terminal& terminal);

}  // namespace texprobe::ctl

#endif
