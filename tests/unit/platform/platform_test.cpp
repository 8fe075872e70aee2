// Threads, clock, modules, processors.
#include "platform/platform.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace tessaron::platform {
namespace {

TEST(Semaphore, a_release_past_the_maximum_is_refused) {
  const std::unique_ptr<semaphore> s(semaphore::create(0, 1));
  ASSERT_NE(s, nullptr);
  EXPECT_TRUE(s->release());
  EXPECT_FALSE(s->release());
  EXPECT_FALSE(last_error_text().empty());
  s->wait();
  EXPECT_TRUE(s->release());
}

TEST(Semaphore, bad_counts_are_refused) {
  EXPECT_EQ(semaphore::create(0, 0), nullptr);
  EXPECT_EQ(semaphore::create(2, 1), nullptr);
  EXPECT_EQ(semaphore::create(-1, 1), nullptr);
}

std::unique_ptr<semaphore> turns[2];
int ping_pong_sum;

TEST(Semaphore, orders_two_threads) {
  constexpr int ROUNDS = 500;
  ping_pong_sum = 0;
  for (auto& t : turns) t.reset(semaphore::create(0, 1));
  const std::unique_ptr<thread> other(thread::start(
      [](int rounds) {
        for (int i = 0; i < rounds; ++i) {
          turns[0]->wait();
          ++ping_pong_sum;  // unguarded on purpose: the semaphores order it
          turns[1]->release();
        }
      },
      ROUNDS, "a thread with a very long name"));
  ASSERT_NE(other, nullptr);
  for (int i = 0; i < ROUNDS; ++i) {
    ++ping_pong_sum;
    turns[0]->release();
    turns[1]->wait();
  }
  other->join();
  EXPECT_EQ(ping_pong_sum, 2 * ROUNDS);
}

TEST(Thread, has_an_id_of_its_own_that_stays) {
  const std::uint32_t here = current_thread_id();
  EXPECT_EQ(here, current_thread_id());
  std::uint32_t there = here;
  std::thread([&] { there = current_thread_id(); }).join();
  EXPECT_NE(here, there);
  EXPECT_NE(here, 0u);
}

TEST(Mutex, is_recursive_and_keeps_others_out_until_the_last_release) {
  const std::unique_ptr<mutex> m(mutex::create());
  ASSERT_TRUE(m->wait(1));
  ASSERT_TRUE(m->wait(1));
  const auto others_get_it = [&] {
    bool owned = false;
    std::thread([&] {
      owned = m->wait(5);
      if (owned) m->release();
    }).join();
    return owned;
  };
  EXPECT_FALSE(others_get_it());
  m->release();
  EXPECT_FALSE(others_get_it());
  m->release();
  EXPECT_TRUE(others_get_it());
}

TEST(Mutex, a_release_by_another_thread_changes_nothing) {
  const std::unique_ptr<mutex> m(mutex::create());
  ASSERT_TRUE(m->wait(1));
  std::thread([&] {
    m->release();
    EXPECT_FALSE(m->wait(5));
  }).join();
  m->release();
}

TEST(Mutex, guards_a_count_between_many_threads) {
  const std::unique_ptr<mutex> m(mutex::create());
  int count = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 200; ++i) {
        while (!m->wait(200)) {}
        ++count;
        m->release();
      }
    });
  for (auto& t : threads) t.join();
  EXPECT_EQ(count, 800);
}

TEST(Processors, the_affinity_mask_counts_and_can_be_narrowed) {
  const int all = affinity_count();
  ASSERT_GE(all, 1);
  EXPECT_FALSE(limit_affinity(0));
  // In a thread, and for all threads: later tests of this program run on one processor, which is
  // all they need.
  ASSERT_TRUE(limit_affinity(1));
  EXPECT_EQ(affinity_count(), 1);
  int in_new_thread = 0;
  std::thread([&] { in_new_thread = affinity_count(); }).join();
  EXPECT_EQ(in_new_thread, 1);
  EXPECT_FALSE(processors_share_cores()) << "one processor shares with none";
}

TEST(Processors, richer_instruction_sets_include_poorer_ones) {
  EXPECT_LE(cpu_has_avx512(), cpu_has_avx2());
  EXPECT_LE(cpu_has_avx2(), cpu_has_sse41());
}

TEST(Clock, does_not_run_backwards) {
  const auto ms = tick_ms();
  const double s = seconds();
  EXPECT_LE(ms, tick_ms());
  EXPECT_LE(s, seconds());
}

TEST(Process, tells_about_itself) {
  EXPECT_NE(command_line().find("test_platform"), std::string::npos);
  EXPECT_NE(os_version().find('.'), std::string::npos);
  EXPECT_GT(peak_resident_bytes(), 100 * 1024);
}

TEST(Process, an_unset_variable_is_empty) {
  unsetenv("TESSARON_TEST_VARIABLE");
  EXPECT_EQ(environment("TESSARON_TEST_VARIABLE"), "");
  setenv("TESSARON_TEST_VARIABLE", "x y", 1);
  EXPECT_EQ(environment("TESSARON_TEST_VARIABLE"), "x y");
}

TEST(Modules, an_address_leads_to_its_file) {
  static const int here = 0;
  EXPECT_NE(module_path(&here).find("/test_platform"), std::string::npos);
  EXPECT_NE(module_path(reinterpret_cast<const void*>(&std::abort)).find(".so"), std::string::npos);
  const int on_the_stack = 0;
  EXPECT_EQ(module_path(&on_the_stack), "");
  pin_module(&here);
  pin_module(reinterpret_cast<const void*>(&std::abort));
}

TEST(Modules, a_missing_library_says_why) {
  std::string error;
  EXPECT_EQ(load_library("/nowhere/libnothing.so", error), nullptr);
  EXPECT_NE(error.find("/nowhere/libnothing.so"), std::string::npos);
}

TEST(Modules, a_library_gives_its_symbols) {
  std::string error;
  void* library = load_library("libm.so.6", error);
  ASSERT_NE(library, nullptr) << error;
  EXPECT_NE(library_symbol(library, "cos"), nullptr);
  EXPECT_EQ(library_symbol(library, "no_such_symbol"), nullptr);
  unload_library(library);
  unload_library(nullptr);
}

}  // namespace
}  // namespace tessaron::platform
