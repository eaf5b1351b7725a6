// The survey's records of one renderer, in the user's preferences.

#ifndef TEXPROBE_SURVEY_RECORDS_H
#define TEXPROBE_SURVEY_RECORDS_H

#include <CoreFoundation/CoreFoundation.h>

#include <memory>
#include <optional>
#include <string>
#include <type_traits>

#include "table/promises.h"
#include "table/record_text.h"

namespace texprobe::survey {

/// A string that is released with the object.
using OwnedString = std::unique_ptr<std::remove_pointer_t<CFStringRef>, void (*)(CFTypeRef)>;

class SurveyRecords {
public:
    explicit SurveyRecords(int rendererID);

    /// The application identifier.
    const std::string& name() const { return name_; }

    std::optional<std::string> profile(Profile profile) const;
    /// Nothing removes the record.
    void set_profile(Profile profile, const std::optional<std::string>& text);
    /// The recorded GL_RENDERER of the profile's context.
    std::optional<std::string> renderer(Profile profile) const;
    void set_strings(Profile profile, const std::string& vendor, const std::string& renderer);

    /// Nothing where there is no record, or a stranger's text.
    std::optional<FormatRecord> format(Profile profile, const Format& format) const;
    void set_format(Profile profile, const Format& format, const FormatRecord& record);

    /// Makes these changes durable, and sees those of others. False if it could not.
    bool synchronize();

private:
    std::optional<std::string> read(const std::string& key) const;
    void write(const std::string& key, const std::optional<std::string>& text);

    std::string name_;
    OwnedString application_;
};

}  // namespace texprobe::survey

#endif
