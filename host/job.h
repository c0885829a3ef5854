// Work that the library does in a thread of its own, as the program watches it.
#ifndef TOLVANE_HOST_JOB_H
#define TOLVANE_HOST_JOB_H

#include <tolvane.h>

#include <functional>
#include <string>

#include "codec_names.h"
#include "sound_format.h"

namespace tolvane::host {

class Job {
  public:
    virtual ~Job() = default;
    virtual bool IsOver() = 0;
    virtual uint32_t Percent() = 0;
    virtual void Cancel() = 0;
    // The result code, once it is over.
    virtual uint16_t Result() = 0;
};

// A conversion with a codec; `pcm` counts where its tag is PCM.
class ConversionJob final : public Job {
  public:
    ConversionJob(const CodecTag& codec, const std::string& source, const std::string& target,
                  const PcmShape& pcm = {});
    ~ConversionJob() override { AudioConvertCloseHandle(&job_); }
    ConversionJob(const ConversionJob&) = delete;
    ConversionJob& operator=(const ConversionJob&) = delete;

    bool IsOver() override { return AudioConvertProcessIsOver(job_) != 0; }
    uint32_t Percent() override { return AudioConvertGetProcessProgress(job_); }
    void Cancel() override { AudioConvertCancelPressed(job_); }
    uint16_t Result() override { return job_ ? AudioConvertGetReasonForProcessExit(job_) : refused_; }

  private:
    ConvertJob* job_ = nullptr;
    uint16_t refused_;
};

// An edit or a change of format by the library itself: `start` begins it and receives the handle's place.
class EditingJob final : public Job {
  public:
    using Start = std::function<uint16_t(EditJob**)>;

    explicit EditingJob(const Start& start);
    ~EditingJob() override { AudioEditCloseHandle(&job_); }
    EditingJob(const EditingJob&) = delete;
    EditingJob& operator=(const EditingJob&) = delete;

    bool IsOver() override { return AudioEditProcessIsOver(job_) != 0; }
    uint32_t Percent() override { return AudioEditGetProcessProgress(job_); }
    void Cancel() override { AudioEditCancelPressed(job_); }
    uint16_t Result() override { return job_ ? AudioEditGetReasonForProcessExit(job_) : refused_; }

  private:
    EditJob* job_ = nullptr;
    uint16_t refused_;
};

}  // namespace tolvane::host

#endif
