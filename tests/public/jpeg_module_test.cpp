// A host linking only libsurveycam finds the codec JPEG_LIB.so in the module folder beside the
// library from any working directory; SURVEYCAM_MODULE_PATH adds folders before it.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "surveycam.h"

namespace {

namespace fs = std::filesystem;

fs::path FileOf(void* symbol) {
  Dl_info info{};
  return ::dladdr(symbol, &info) && info.dli_fname ? fs::canonical(info.dli_fname) : fs::path();
}

TEST(JpegModule, SavesAndReadsFromTheDefaultFolderInAnyWorkingDirectory) {
  const fs::path work = fs::temp_directory_path() / "surveycam-jpeg-module";
  fs::create_directories(work);
  ASSERT_EQ(::chdir(work.c_str()), 0);  // nothing of the build tree is here
  platform::fs::SetDeviceRoot(work.string());
  HMODULE module = LoadLibraryW(L"JPEG_LIB.dll");
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(
      FileOf(reinterpret_cast<void*>(GetProcAddress(module, "DibImageToJpegFile_ExplicitLoading"))),
      FileOf(reinterpret_cast<void*>(&LoadLibraryW)).parent_path() /
          "surveycam/modules/JPEG_LIB.so");
  CDibEx picture, back;
  ASSERT_TRUE(picture.Create(CSize(64, 48), 24, 0, FALSE, 0));
  BYTE orange[3] = {0, 128, 255}, bgr[3] = {};  // B, G, R
  for (int y = 0; y < 48; ++y)
    for (int x = 0; x < 64; ++x) picture.SetPixel(orange, CPoint(x, y), 4);
  CString path(L"\\orange.jpg");
  ASSERT_TRUE(picture.WriteJPEG(path));
  ASSERT_TRUE(back.ReadJPEG(path));
  ASSERT_TRUE(back.GetPixel(bgr, CPoint(32, 24), 4));
  for (int c = 0; c < 3; ++c) EXPECT_NEAR(bgr[c], orange[c], 3) << c;
  FreeLibrary(module);
}

TEST(JpegModule, TheEnvironmentAddsFoldersBeforeTheDefaultOne) {
  EXPECT_EQ(LoadLibraryW(L"SIMINST.dll"), nullptr);  // not in the default folder
  ASSERT_EQ(::setenv("SURVEYCAM_MODULE_PATH", "/nonexistent:" SIMINST_DIR, 1), 0);
  const auto folders = platform::modules::SearchFolders();
  EXPECT_EQ(folders, (std::vector<std::string>{"/nonexistent", SIMINST_DIR, folders.back()}));
  HMODULE module = LoadLibraryW(L"SIMINST.dll");
  EXPECT_NE(module, nullptr);
  FreeLibrary(module);
  ::unsetenv("SURVEYCAM_MODULE_PATH");
}

}  // namespace
