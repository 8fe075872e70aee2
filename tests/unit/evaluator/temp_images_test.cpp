// The pool of planes: slots, staggers, banks, sizes and what the host's memory sees of it.
#include "evaluator/temp_images.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

#include "base/report.h"
#include "tests/support/render_definition.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {
namespace {

/// A host's handles that are counted; `refuse` makes new ones fail.
struct counted_handles {
  static inline std::map<void**, std::int64_t> sizes;
  static inline int locked = 0;
  static inline bool refuse = false;
  counted_handles() {
    sizes.clear();
    locked = 0;
    refuse = false;
    static const handle_suite SUITE = {[](std::int64_t size) -> void** {
                                         if (refuse) return nullptr;
                                         void** handle = static_cast<void**>(std::malloc(sizeof(void*)));
                                         *handle = std::malloc(std::size_t(size));
                                         sizes[handle] = size;
                                         return handle;
                                       },
                                       [](void** handle) {
                                         ++locked;
                                         return *handle;
                                       },
                                       [](void**) { --locked; },
                                       [](void** handle) {
                                         sizes.erase(handle);
                                         std::free(*handle);
                                         std::free(handle);
                                       }};
    set_handle_suite(&SUITE);
  }
  ~counted_handles() {
    set_handle_suite(nullptr);
    EXPECT_TRUE(sizes.empty());
    EXPECT_EQ(locked, 0);
  }
  static std::int64_t size_of_block_before(const void* address) {
    for (const auto& [handle, size] : sizes) {
      const char* block = static_cast<char*>(*handle);
      if (address >= block && address < block + size) return size;
    }
    return -1;
  }
  static std::int64_t offset_in_block(const void* address) {
    for (const auto& [handle, size] : sizes) {
      const char* block = static_cast<char*>(*handle);
      if (address >= block && address < block + size) return static_cast<const char*>(address) - block;
    }
    return -1;
  }
};

int code_of(void (*action)()) {
  try {
    action();
  } catch (const TessaronAbortException& fault) {
    return fault.code();
  }
  return 0;
}

TEST(plane, of_slot_0_has_no_stagger_and_of_slot_3_384_bytes) {
  const counted_handles host;
  short_image_size = 1000;
  const std::int16_t* first = get_temp_image_array_i(0, 0);
  const std::int16_t* fourth = get_temp_image_array_i(3, 0);
  EXPECT_EQ(host.offset_in_block(first), 0);
  EXPECT_EQ(host.size_of_block_before(first), 1000);
  EXPECT_EQ(host.offset_in_block(fourth), 384);
  EXPECT_EQ(host.size_of_block_before(fourth), 1384);
  EXPECT_EQ(planes_held(), 2);
  EXPECT_EQ(plane_bytes_held(), 2384);
  free_all_temp_images();
}

TEST(plane, of_a_slot_stays_until_the_pool_is_emptied) {
  const counted_handles host;
  short_image_size = 64;
  const std::int16_t* a = get_temp_image_array_i(2, 1);
  EXPECT_EQ(get_temp_image_array_i(2, 1), a);
  EXPECT_NE(get_temp_image_array_i(2, 0), a);  // the other bank
  free_all_temp_images();
  EXPECT_EQ(planes_held(), 0);
  EXPECT_TRUE(host.sizes.empty());
}

TEST(plane, of_another_size_is_a_new_one) {
  const counted_handles host;
  short_image_size = 64;
  get_temp_image_array_i(1, 0);
  short_image_size = 256;
  EXPECT_EQ(host.size_of_block_before(get_temp_image_array_i(1, 0)), 256 + 128);
  EXPECT_EQ(planes_held(), 1);
  free_all_temp_images();
}

TEST(plane, beyond_the_tables_is_had_all_the_same) {
  const counted_handles host;
  short_image_size = 16;
  EXPECT_EQ(host.offset_in_block(get_temp_image_array_i(120, 0)), 120 * 128);
  EXPECT_EQ(host.offset_in_block(get_temp_image_array_i(40, 1)), 40 * 128);
  free_all_temp_images();
}

TEST(plane, without_a_size_is_fatal) {
  report_capture reports;
  short_image_size = 0;
  EXPECT_EQ(code_of([] { get_temp_image_array_i(0, 0); }), 1);
  EXPECT_TRUE(reports.has("get_temp_image_array_i:  short_image_size is not set."));
}

TEST(plane, that_the_host_refuses_is_out_of_memory) {
  const counted_handles host;
  report_capture reports;
  short_image_size = 5000;
  counted_handles::refuse = true;
  EXPECT_EQ(code_of([] { get_temp_image_array_i(1, 0); }), -100);
  EXPECT_EQ(reports.severity_of("Out of memory allocating temp image handle of 5128 bytes"), REPORT_ERROR);
}

TEST(handle, that_is_null_is_not_freed) {
  report_capture reports;
  EXPECT_EQ(code_of([] { free_temp_handle(nullptr); }), 1);
  EXPECT_EQ(reports.severity_of("Attempt to free null temp image handle"), REPORT_ERROR);
}

TEST(pool, that_is_empty_is_emptied_by_setting_the_mark_alone) {
  const counted_handles host;
  take_images_freed();
  report_capture reports;
  free_all_temp_images();
  EXPECT_TRUE(take_images_freed());
  EXPECT_FALSE(take_images_freed());
  EXPECT_TRUE(reports.empty());
}

TEST(long_image, is_kept_while_the_size_is_equal) {
  const counted_handles host;
  const std::int32_t* first = get_long_image(10, 20);
  EXPECT_EQ(host.size_of_block_before(first), 800);
  EXPECT_EQ(get_long_image(10, 20), first);
  EXPECT_EQ(current_long_image(), first);
  EXPECT_EQ(host.size_of_block_before(get_long_image(20, 20)), 1600);
  EXPECT_EQ(host.sizes.size(), 1u);
  EXPECT_EQ(long_image_width, 20);
}

// --- nodes -----------------------------------------------------------------------------------------------

/// A definition with its planes given out, unrendered.
struct placed : definition_renderer {
  explicit placed(const std::string& text, const test_frame& frame = {}) : definition_renderer(text, frame) {
    fill_records();
    EXPECT_TRUE(resolve_element_counts(effect()));
    fold_and_pass(effect());
    set_node_images(effect(), 0, 0);
  }
};

TEST(slots, operators_work_in_the_planes_of_their_image) {
  placed r("(define S (Source) () inner = (gamma Source 2) dest = (+ (gamma inner 3) 0.1))");
  const std::vector<node*> calls = r.calls_of("gamma");
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[0]->image_base, 0);
  EXPECT_EQ(calls[1]->image_base, 0);
  EXPECT_EQ(calls[0]->images[0], calls[1]->images[0]);
  EXPECT_EQ(r.effect().n_temp_images, 3);
}

TEST(slots, planes_still_wanted_stay_below) {
  placed r("(define S (Source) () a = (gamma Source 2) b = (gamma Source 3) dest = (+ a b))");
  EXPECT_EQ(r.named("a").image_base, 0);
  EXPECT_EQ(r.named("b").image_base, 3);
  EXPECT_EQ(r.effect().n_temp_images, 6);
}

TEST(slots, alternatives_of_an_if_share_theirs) {
  placed r("(define S (Source) () p = 1 dest = (if+ p (gamma Source 2) (gamma Source 3)))");
  const std::vector<node*> calls = r.calls_of("gamma");
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[0]->image_base, calls[1]->image_base);
  EXPECT_EQ(r.effect().n_temp_images, 3);
}

TEST(slots, an_image_that_an_alternative_shares_with_something_outside_is_not_written_over) {
  placed r(
      "(define S (Source) () p = 1 both = (gamma Source 2)"
      " dest = (+ (if+ p (gamma Source 3) both) both))");
  const node& both = r.named("both");
  for (const node* other : r.calls_of("gamma")) {
    if (other == &both) continue;
    EXPECT_NE(other->images[0], both.images[0]);
  }
}

TEST(slots, a_node_of_two_loops_lies_in_the_shared_bank_and_leaves_the_stack_alone) {
  placed r("(define S (Source) () two = (+ Source 1) dest = (+ (gamma two 2) two))");
  const node& two = r.named("two");
  EXPECT_EQ(two.share_count, 2);
  EXPECT_EQ(two.shared_image, 1);
  EXPECT_EQ(two.image_count, 3);
  EXPECT_EQ(r.calls_of("gamma")[0]->image_base, 0);
  EXPECT_EQ(r.effect().n_cache_images, 3);
  EXPECT_EQ(r.effect().n_temp_images, 3);
}

TEST(slots, never_hold_more_than_was_planned) {
  definition_renderer r(
      "(define S (Source) () two = (+ Source 1) a = (gamma two 2) b = (gamma (gamma Source 3) 2)"
      " dest = (+ (interp a b y) two))");
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(r.render());
  EXPECT_EQ(last_frame_stats.planes_in_use, r.effect().n_temp_images + r.effect().n_cache_images);
  EXPECT_EQ(last_frame_stats.planes_planned, last_frame_stats.planes_in_use);
}

TEST(set_node_images, keeps_planes_that_stand_and_their_mark) {
  placed r("(define S (Source) () a = (gamma Source 2) dest = (+ a 1))");
  node& a = r.named("a");
  a.node_flags |= NODE_IMAGES_VALID;
  const std::int16_t* plane = a.images[0];
  set_node_images(r.effect(), 0, 0);
  EXPECT_EQ(a.images[0], plane);
  EXPECT_TRUE(a.node_flags & NODE_IMAGES_VALID);
  set_node_images(r.effect(), 0, 1);
  EXPECT_FALSE(a.node_flags & NODE_IMAGES_VALID);
  a.node_flags |= NODE_IMAGES_VALID;
  set_node_images(r.effect(), 1, 0);
  EXPECT_FALSE(a.node_flags & NODE_IMAGES_VALID);
}

TEST(set_node_images, takes_the_mark_away_when_another_effect_had_the_planes) {
  placed r("(define S (Source) () a = (gamma Source 2) dest = (+ a 1))");
  r.named("a").node_flags |= NODE_IMAGES_VALID;
  { placed other("(define O (Source) () dest = (+ (gamma Source 3) 1))"); }
  Globals = &r.record();
  r.fill_records();
  set_node_images(r.effect(), 0, 0);
  EXPECT_FALSE(r.named("a").node_flags & NODE_IMAGES_VALID);
}

TEST(previous_output, has_planes_of_its_own_that_follow_the_size) {
  definition_renderer r("(define P (Source) () dest = (+ Source (get_prev_dest Source)))", {.width = 10, .height = 6});
  r.fill_records();
  ASSERT_TRUE(resolve_element_counts(r.effect()));
  fold_and_pass(r.effect());
  set_node_images(r.effect(), 0, 0);
  temp_set_record& set = *r.record().temp_set;
  EXPECT_EQ(set.width, 10);
  EXPECT_EQ(set.height, 6);
  EXPECT_EQ(set.image_count, 3);
  EXPECT_EQ(planes_held(), 0);
  EXPECT_EQ(r.calls_of("get_prev_dest")[0]->images[2], set.planes[2]);

  set.frames_held = 5;
  set_node_images(r.effect(), 0, 0);
  EXPECT_EQ(set.frames_held, 5);

  r.set_frame({.width = 20, .height = 6});
  r.fill_records();
  set_node_images(r.effect(), 0, 0);
  EXPECT_EQ(set.frames_held, 0);
  EXPECT_EQ(set.width, 20);
  set.planes[0][20 * 6 - 1] = 1;  // there is room for the last sample
  for (int i = 0; i < set.image_count; ++i) free_temp_handle(static_cast<void**>(set.handles[i]));
  set.image_count = 0;
}

}  // namespace
}  // namespace tessaron::testing
