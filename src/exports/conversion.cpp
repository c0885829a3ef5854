// Exports: conversion of files, with and without a job.

#include "convert/convert_to_pcm.h"
#include "convert/jobs.h"
#include "tolvane.h"

uint16_t TOLVANE_CALL AudioConvert(uint16_t codecIndex, uint32_t formatTagIndex, const char* source,
                                   const char* target, const struct tWAVEFORMATEX* pcmFormat,
                                   uint32_t allowFallback, ConvertJob** job, uint32_t wait) {
    const tolvane::ConvertRequest request{
        codecIndex, static_cast<int32_t>(formatTagIndex),    source,
        target,     pcmFormat ? *pcmFormat : WAVEFORMATEX{}, allowFallback != 0};
    return static_cast<uint16_t>(tolvane::StartConversion(request, job, wait != 0));
}

uint16_t TOLVANE_CALL AudioConvertCancelPressed(ConvertJob* job) {
    if (ConvertJob* valid = tolvane::ValidJob(job)) valid->cancel = 1;
    return TOLVANE_OK;
}

uint32_t TOLVANE_CALL AudioConvertProcessIsOver(ConvertJob* job) {
    const ConvertJob* valid = tolvane::ValidJob(job);
    return valid ? valid->finished.load() : ConvertJob::kOver;
}

uint32_t TOLVANE_CALL AudioConvertGetProcessProgress(ConvertJob* job) {
    ConvertJob* valid = tolvane::ValidJob(job);
    return valid ? tolvane::LowerProgress(valid->progress) : 0;
}

uint16_t TOLVANE_CALL AudioConvertGetReasonForProcessExit(ConvertJob* job) {
    const ConvertJob* valid = tolvane::ValidJob(job);
    return valid ? valid->reason.load() : uint16_t{TOLVANE_OK};
}

uint16_t TOLVANE_CALL AudioConvertCloseHandle(ConvertJob** job) {
    tolvane::CloseConversion(job);
    return TOLVANE_OK;
}

uint32_t TOLVANE_CALL ACMAudioConvertFormatPCM(const char* source, const char* target,
                                               const struct tWAVEFORMATEX* format) {
    return tolvane::ConvertToPcmFile(source, target, format ? *format : WAVEFORMATEX{}, nullptr);
}

PcmConversion* TOLVANE_CALL ACMBeginConvertPCMEx(const char* source, const char* target,
                                                 const struct tWAVEFORMATEX* format) {
    return tolvane::BeginPcmConversion(source, target, format);
}

uint32_t TOLVANE_CALL GetACMStatus(PcmConversion* conversion, uint32_t* progress) {
    return tolvane::GetPcmStatus(conversion, progress);
}

uint32_t TOLVANE_CALL AbortACMConversion(PcmConversion* conversion) {
    tolvane::AbortPcmConversion(conversion);
    return TOLVANE_OK;
}
