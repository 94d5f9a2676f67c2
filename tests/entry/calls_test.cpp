// The host's three calls in every order: none does harm, and each object is freed once, by whoever
// lets go of it last.
#include "tests/entry/life_fixture.h"
#include "tests/fakes/scarcity.h"

namespace {

using testing::Contains;

struct CallsTest : LifeTest {
  CallsTest() {
    traceCalls = true;
    cloud.Answer(ForManifest("latest"), Manifest({}));
  }
  void ExpectOneRun() {
    EXPECT_THAT(log.Lines(), Contains("init_metrics_client").Times(1));
    EXPECT_TRUE(SocketIsFree()) << "the object is gone";
  }
};

TEST_F(CallsTest, WithoutALaunchNothingHappensAndNothingIsLeft) {
  const long before = scarcity.inUse;
  destroy_tolvar(Create());
  EXPECT_EQ(scarcity.inUse, before);
  destroy_tolvar(supervisor);
  launch_tolvar(supervisor);
  destroy_tolvar(supervisor);
  EXPECT_EQ(log.Text(), "");
}

TEST_F(CallsTest, WhatIsNoSupervisorIsIgnored) {
  Processes hostsOwn;
  for (void* none : std::initializer_list<void*>{nullptr, &hostsOwn, this}) {
    launch_tolvar(none);
    destroy_tolvar(none);
  }
  EXPECT_EQ(log.Text(), "");
  EXPECT_FALSE(hostsOwn.stopRequested);
  fakeClock.onSleep = [this] { Destroy(); };
  launch_tolvar(supervisor);
  ExpectOneRun();
}

TEST_F(CallsTest, WithoutMemoryThereIsNoSupervisor) {
  scarcity.toFail = 1;
  EXPECT_EQ(create_tolvar(), nullptr);
}

TEST_F(CallsTest, ADestructionDuringARunEndsItAndTheObjectWithIt) {
  fakeClock.onSleep = [this] {
    Destroy();
    Destroy();
    EXPECT_TRUE(supervisor->stopRequested);
    EXPECT_FALSE(SocketIsFree()) << "it runs still";
  };
  launch_tolvar(supervisor);
  ExpectOneRun();
  launch_tolvar(supervisor);
  destroy_tolvar(supervisor);
  EXPECT_EQ(log.Text(), "");
}

TEST_F(CallsTest, ASecondLaunchReturnsAtOnceDuringTheRunAndAfterIt) {
  fakeClock.onSleep = [this] {
    launch_tolvar(supervisor);
    supervisor->stopRequested = true;
    Beat("the receiver");
  };
  launch_tolvar(supervisor);
  EXPECT_FALSE(SocketIsFree()) << "its host still has the object";
  launch_tolvar(supervisor);
  destroy_tolvar(supervisor);
  ExpectOneRun();
}

TEST_F(CallsTest, ADestructionTouchesNoOtherSupervisor) {
  Processes* before = Create();
  Processes* after = Create();
  destroy_tolvar(before);
  destroy_tolvar(after);
  EXPECT_FALSE(supervisor->stopRequested);
  fakeClock.onSleep = [this] { Destroy(); };
  launch_tolvar(supervisor);
  ExpectOneRun();
}

}  // namespace
