// The verdicts of record sets as tables, in which each no leads to its explanation.

#ifndef TEXPROBECTL_SET_TABLES_H
#define TEXPROBECTL_SET_TABLES_H

#include <string>

#include "page/page_section.h"
#include "page/pictured_no.h"
#include "page/whys.h"
#include "records/compare.h"

namespace texprobe::ctl {

/// Those of one set, whose name among others is `label`.
class SetTables {
public:
    SetTables(const RecordSet& set, std::string label, const PicturedNoes& pictured, Whys* whys)
        : set_(set), label_(std::move(label)), pictured_(pictured), whys_(*whys) {}

    /// Of the survey only whose it is the same as, if it is.
    void write(const std::string& sameSurvey, PageSection* section);
    PageCell cell(const Cell& cell);
    /// A sentence about a format in one kind of context; "yes" where all holds.
    PageCell cell(const SurveyedProfile& profile, std::size_t format);
    /// Of a format of which a verdict differs, or of the context, whose verdict is `verdict`.
    PageCell cell(const SurveyDifference& difference, const std::string& verdict);

private:
    void write_survey(PageSection* section);
    std::string why(const Cell& cell) const;

    const RecordSet& set_;
    std::string label_;
    const PicturedNoes& pictured_;
    Whys& whys_;
};

/// On how many sets each verdict is a yes.
PageTable table_of_sums(const RecordSets& sets);

PageTable table_of_differences(const ComparedSets& pair, SetTables* a, SetTables* b);

}  // namespace texprobe::ctl

#endif
