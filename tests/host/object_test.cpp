// The object layer as a host sees it: the factory, ids and reference counts.
#include "host_support.h"

namespace {

using host::Builder;

TEST(CreateObject, AnswersByClassAndInterface) {
    void* out = nullptr;
    EXPECT_EQ(CreateObject(IID_ITarnSurface, IID_ISurfaceBuilder, &out), VED_E_FAIL);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(CreateObject(CLSID_TarnSurfaceLibrary, IID_ITarnSurface, &out), VED_E_NOTSUPPORTED);
    EXPECT_EQ(out, nullptr);
    // A matching id with nowhere to store it is a bad argument.
    EXPECT_EQ(CreateObject(CLSID_TarnSurfaceLibrary, IID_ISurfaceBuilder, nullptr), VED_E_INVALIDARG);

    EXPECT_EQ(CreateObject(CLSID_TarnSurfaceLibrary, IID_IVedUnknown, &out), VED_S_OK);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(static_cast<VideoEdit::IVedUnknown*>(out)->Release(), 0u);
}

TEST(QueryInterface, AnswersTheTwoIdsOfEachClass) {
    auto builder = Builder();
    auto surface = host::Blank(host::Describe(SURFACE_FORMAT_RGB32, 8, 8));

    struct Case {
        VideoEdit::IVedUnknown* object;
        void* self;  // the object as its own interface, which every id it answers gives
        VedId id;
        VedResult withOut, withNull;
    };
    const Case cases[] = {
        {builder.get(), builder.get(), IID_ISurfaceBuilder, VED_S_OK, VED_E_INVALIDARG},
        {builder.get(), builder.get(), IID_IVedUnknown, VED_S_OK, VED_E_INVALIDARG},
        {builder.get(), builder.get(), IID_ITarnSurface, VED_E_NOTSUPPORTED, VED_E_NOTSUPPORTED},
        {builder.get(), builder.get(), CLSID_TarnSurfaceLibrary, VED_E_NOTSUPPORTED, VED_E_NOTSUPPORTED},
        {surface.get(), surface.get(), IID_ITarnSurface, VED_S_OK, VED_E_INVALIDARG},
        {surface.get(), surface.get(), IID_IVedUnknown, VED_S_OK, VED_E_INVALIDARG},
        {surface.get(), surface.get(), IID_ISurfaceBuilder, VED_E_NOTSUPPORTED, VED_E_NOTSUPPORTED},
    };
    for (const Case& c : cases) {
        const uint32_t before = host::RefCount(c.object);
        void* out = reinterpret_cast<void*>(0x1);
        EXPECT_EQ(c.object->QueryInterface(c.id, &out), c.withOut);
        if (c.withOut == VED_S_OK) {
            EXPECT_EQ(out, c.self);
            EXPECT_EQ(host::RefCount(c.object), before + 1);  // the answer holds a reference
            static_cast<VideoEdit::IVedUnknown*>(out)->Release();
        } else {
            EXPECT_EQ(out, reinterpret_cast<void*>(0x1));  // untouched
        }
        EXPECT_EQ(c.object->QueryInterface(c.id, nullptr), c.withNull);
        EXPECT_EQ(host::RefCount(c.object), before);
    }
}

TEST(ReferenceCount, CountsUpAndDownAndDeletesAtZero) {
    ITarnSurface* raw = host::Blank(host::Describe(SURFACE_FORMAT_RGB24, 4, 4)).detach();
    EXPECT_EQ(raw->AddRef(), 2u);
    EXPECT_EQ(raw->AddRef(), 3u);
    EXPECT_EQ(raw->Release(), 2u);
    EXPECT_EQ(raw->Release(), 1u);
    EXPECT_EQ(raw->Release(), 0u);  // gone; LeakSanitizer would see it otherwise
}

TEST(Ids, CompareAsFourWordsAndMatchTheirTextForm) {
    // 704FC983-A9B8-4FCC-B29A-AA5F973CAD99 read as little-endian words.
    uint32_t words[4];
    std::memcpy(words, &IID_ITarnSurface, 16);
    EXPECT_EQ(words[0], 0x704fc983u);
    EXPECT_EQ(words[1], 0x4fcca9b8u);
    EXPECT_EQ(words[2], 0x5faa9ab2u);
    EXPECT_EQ(words[3], 0x99ad3c97u);
    std::memcpy(words, &CLSID_TarnSurfaceLibrary, 16);
    EXPECT_EQ(words[2], 0x7395d3a9u);
    EXPECT_TRUE(IID_IVedUnknown == IID_IVedUnknown);
    EXPECT_FALSE(IID_IVedUnknown == IID_ISurfaceBuilder);
}

}  // namespace
