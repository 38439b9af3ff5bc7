#pragma once

#if NUV_BENCH_LCMS

#    include <cstddef>
#    include <lcms2.h>
#    include <vector>

// A transform of Little CMS from RGB to RGB by a table of `points` points an axis, which
// interpolates by tetrahedra as well. The caller deletes it.
[[nodiscard]] inline cmsHTRANSFORM lcms_grid(std::size_t points, cmsUInt32Number format)
{
    cmsPipeline* pipeline = cmsPipelineAlloc(nullptr, 3, 3);
    std::vector<cmsUInt16Number> samples(points * points * points * 3);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<cmsUInt16Number>(i * 2654435761U >> 16);
    cmsStage* stage =
        cmsStageAllocCLut16bit(nullptr, static_cast<cmsUInt32Number>(points), 3, 3, samples.data());
    cmsPipelineInsertStage(pipeline, cmsAT_END, stage);
    cmsHPROFILE link = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(link, 2.1);
    cmsSetDeviceClass(link, cmsSigLinkClass);
    cmsSetColorSpace(link, cmsSigRgbData);
    cmsSetPCS(link, cmsSigRgbData);
    cmsWriteTag(link, cmsSigAToB0Tag, pipeline);
    cmsHTRANSFORM transform = cmsCreateMultiprofileTransform(&link, 1, format, format,
                                                             INTENT_PERCEPTUAL, cmsFLAGS_NOCACHE);
    cmsCloseProfile(link);
    cmsPipelineFree(pipeline);
    return transform;
}

#endif
