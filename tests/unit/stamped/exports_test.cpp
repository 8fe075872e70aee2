// What other programs look up by name in the engine's library.
#include <dlfcn.h>

#include <cstdint>

#include "stamped_folder.h"

namespace tessaron::stamped {
namespace {

/// As programs in other languages know it: widths and offsets, no header.
struct listed_custom {
  char name[32];
  std::int32_t n_inputs;
  char input_names[4][12];
};
static_assert(sizeof(listed_custom) == 84);

class Exports : public ::testing::Test {
 protected:
  void SetUp() override {
    stamped_folder::get();  // names the configuration directory before the engine asks for it
    library = dlopen(TESSARON_BINARY_DIR "/libtessaron.so.1", RTLD_NOW | RTLD_LOCAL);
    ASSERT_TRUE(library) << dlerror();
  }
  void TearDown() override {
    if (library) dlclose(library);
  }
  template <class Function>
  Function* symbol(const char* name) const {
    void* address = dlsym(library, name);
    EXPECT_TRUE(address) << name;
    return reinterpret_cast<Function*>(address);
  }
  void* library = nullptr;
};

TEST_F(Exports, the_listing_of_customs) {
  const auto get_config_dir = symbol<const char*()>("get_config_dir");
  const auto maybe_get = symbol<int()>("maybe_get_custom_genotype_infos");
  const auto get_infos = symbol<int(const char*, listed_custom**)>("get_custom_genotype_infos");
  const auto get_n = symbol<const listed_custom*(int)>("get_custom_genotype_info_n");
  const auto free_infos = symbol<void()>("free_custom_genotype_infos");
  ASSERT_FALSE(HasFailure());

  EXPECT_EQ(get_config_dir(), stamped_folder::get().config());
  EXPECT_EQ(get_config_dir(), get_config_dir()) << "one static text";
  ASSERT_EQ(maybe_get(), int(customs().size()));
  for (int i = 0; i < int(customs().size()); ++i) EXPECT_EQ(get_n(i)->name, customs()[std::size_t(i)].name);
  EXPECT_EQ(get_n(-1), nullptr);
  EXPECT_EQ(get_n(int(customs().size())), nullptr);
  const listed_custom* two = get_n(3);
  EXPECT_EQ(two->n_inputs, 2);
  EXPECT_STREQ(two->input_names[0], "Front");
  EXPECT_STREQ(two->input_names[1], "Back_Plate");

  listed_custom* own = nullptr;
  EXPECT_EQ(get_infos(stamped_folder::get().config_file().c_str(), &own), int(customs().size()));
  ASSERT_TRUE(own);
  EXPECT_STREQ(own[4].name, "Looks");
  std::free(own);  // from malloc, as said
  free_infos();
}

TEST_F(Exports, the_entry) {
  const auto entry =
      symbol<std::int32_t(const void*, std::int32_t, void*, pf_out_data*, void*, void*, void*)>("tessaron_main");
  ASSERT_TRUE(entry);
  pf_out_data out = {};
  pf_in_data in = {};
  const tessaron_plugin plugin = {};
  EXPECT_EQ(entry(&plugin, 999, &in, &out, nullptr, nullptr, nullptr), 0) << "an unknown command";
}

}  // namespace
}  // namespace tessaron::stamped
