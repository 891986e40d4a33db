#include "platform/fake/FakeStandardPlaces.h"
#include "platform/linux/LinuxStandardPlaces.h"

#include <gtest/gtest.h>

namespace larkspan::platform {
namespace {

template <class Places>
class StandardPlacesContract : public ::testing::Test {
  protected:
    Places places;
};

using Implementations = ::testing::Types<FakeStandardPlaces, LinuxStandardPlaces>;
TYPED_TEST_SUITE(StandardPlacesContract, Implementations);

TYPED_TEST(StandardPlacesContract, EveryPlaceOfTheUserIsAnAbsolutePath) {
    using enum DirectoryKind;
    for (const DirectoryKind kind : {applications, adminApplications, documents, library, caches,
                                     applicationSupport, movies, desktop}) {
        const std::vector<Path> paths = this->places.searchPaths(kind, Domain::user);
        ASSERT_FALSE(paths.empty()) << static_cast<int>(kind);
        EXPECT_TRUE(paths.front().isAbsolute()) << paths.front();
    }
    EXPECT_TRUE(this->places.homeDirectory().isAbsolute());
    EXPECT_TRUE(this->places.temporaryDirectory().isAbsolute());
}

TYPED_TEST(StandardPlacesContract, LibrariesAndDocumentationHaveTheirOtherDomains) {
    for (const auto& [kind, domain] : {std::pair(DirectoryKind::library, Domain::local),
                                       std::pair(DirectoryKind::library, Domain::system),
                                       std::pair(DirectoryKind::documentation, Domain::local),
                                       std::pair(DirectoryKind::applications, Domain::local)}) {
        EXPECT_FALSE(this->places.searchPaths(kind, domain).empty());
    }
    EXPECT_TRUE(this->places.searchPaths(DirectoryKind::desktop, Domain::system).empty());
}

TYPED_TEST(StandardPlacesContract, ThePersonOfTheProcessIsKnownByNameAndLivesInItsHome) {
    EXPECT_EQ(this->places.homeDirectoryForUser(this->places.userName()),
              this->places.homeDirectory());
    EXPECT_EQ(this->places.homeDirectoryForUser("no such person, surely"), std::nullopt);
    EXPECT_EQ(this->places.homeDirectoryForUser(""), std::nullopt);
}

}  // namespace
}  // namespace larkspan::platform
