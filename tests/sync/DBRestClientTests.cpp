#include "support/CloudTest.h"
#include "support/RawServer.h"
#include "sync/DBRestClient.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DBRestClientTest : public testing::CloudTest, protected DBRestClientDelegate {
  protected:
    DBRestClientTest() {
        link();
        client =
            std::make_unique<DBRestClient>(std::make_shared<const DBSession>(session), settings);
        client->setDelegate(this);
        writeFile(Path("/Temp/a.zip"), std::string(100'000, 'a'));
    }
    void note(const std::string& what) {
        EXPECT_TRUE(fake.mainThread.isCurrent());
        told.push_back(what);
        fake.mainThread.stop();
    }
    void loadedMetadata(DBRestClient&, const DBMetadata& metadata) override {
        note("listed " + std::to_string(metadata.contents.size()));
    }
    void loadMetadataFailedWithError(DBRestClient&, const Error& error) override {
        note("not listed " + std::to_string(error.code));
    }
    void uploadedFile(DBRestClient&, const RemotePath& destination, const Path& from,
                      const DBMetadata& metadata) override {
        note("uploaded " + from.str() + " " + destination.text + " " +
             std::to_string(metadata.totalBytes));
    }
    void uploadProgress(DBRestClient&, double done, const RemotePath& target,
                        const Path& from) override {
        EXPECT_EQ(target.text, "/P/a.zip");
        EXPECT_EQ(from, Path("/Temp/a.zip"));
        uploadSteps.push_back(done);
    }
    void uploadFileFailedWithError(DBRestClient&, const Error& error) override {
        note("not uploaded " + std::to_string(error.code));
    }
    void deletedPath(DBRestClient&, const RemotePath& path) override {
        note("deleted " + path.text);
        if (endsAfterDeletion) client.reset();
    }
    void deletePathFailedWithError(DBRestClient&, const Error& error) override {
        note("not deleted " + std::to_string(error.code));
    }
    void loadedFile(DBRestClient&, const Path& destination) override {
        note("loaded " + destination.str());
    }
    void loadProgress(DBRestClient&, double done, const Path& target) override {
        EXPECT_EQ(target, Path("/Down/a.zip"));
        loadSteps.push_back(done);
    }
    void loadFileFailedWithError(DBRestClient&, const Error& error) override {
        note("not loaded " + std::to_string(error.code));
    }

    std::vector<std::string> told;
    std::vector<double> uploadSteps;
    std::vector<double> loadSteps;
    bool endsAfterDeletion = false;
    std::unique_ptr<DBRestClient> client;
};

TEST_F(DBRestClientTest, TellsOnTheMainThreadWhatBecameOfRequests) {
    client->uploadFile("a.zip", {"/P"}, std::nullopt, Path("/Temp/a.zip"));
    client->loadMetadata({"/P"});
    client->loadFile({"/P/a.zip"}, Path("/Down/a.zip"));
    client->deletePath({"/P/a.zip"});
    for (int i = 0; i < 4; ++i) fake.mainThread.run();
    EXPECT_THAT(told, ElementsAre("uploaded /Temp/a.zip /P/a.zip 100000", "listed 1",
                                  "loaded /Down/a.zip", "deleted /P/a.zip"));
    for (const auto& steps : {uploadSteps, loadSteps}) {
        ASSERT_FALSE(steps.empty());
        EXPECT_TRUE(std::ranges::is_sorted(steps));
        EXPECT_EQ(steps.back(), 1.0);
        EXPECT_LE(steps.size(), 101U);
    }
    EXPECT_EQ(server.requestCount("oauth2/token"), 1U);
}

TEST_F(DBRestClientTest, TellsOfFailures) {
    for (const char* operation :
         {"files/upload", "files/list_folder", "files/download", "files/delete_v2"}) {
        server.failAlways(operation, {.status = 500});
    }
    client->uploadFile("a.zip", {"/P"}, std::nullopt, Path("/Temp/a.zip"));
    client->loadMetadata({"/P"});
    client->loadFile({"/P/a.zip"}, Path("/Down/a.zip"));
    client->deletePath({"/P/a.zip"});
    for (int i = 0; i < 4; ++i) fake.mainThread.run();
    EXPECT_THAT(told, ElementsAre("not uploaded 500", "not listed 500", "not loaded 500",
                                  "not deleted 500"));
}

TEST_F(DBRestClientTest, AClientThatGoesCancelsAndIsSilent) {
    testing::RawServer silent({.readBytes = 100, .holds = true});
    settings.contentAddress = "http://" + silent.host();
    client = std::make_unique<DBRestClient>(std::make_shared<const DBSession>(session), settings);
    client->setDelegate(this);
    client->uploadFile("a.zip", {"/P"}, std::nullopt, Path("/Temp/a.zip"));
    client->deletePath({"/P/b.zip"});
    silent.waitUntilHeld();
    client.reset();
    fake.mainThread.runPosted();
    EXPECT_THAT(told, IsEmpty());
    EXPECT_EQ(server.requestCount("files/delete_v2"), 0U);
}

TEST_F(DBRestClientTest, TheDelegateMayLetItGo) {
    server.put("/P/a.zip", "a");
    server.put("/P/b.zip", "b");
    endsAfterDeletion = true;
    client->deletePath({"/P/a.zip"});
    client->deletePath({"/P/b.zip"});
    fake.mainThread.run();
    fake.mainThread.runPosted();
    EXPECT_THAT(told, ElementsAre("deleted /P/a.zip"));
}

}  // namespace
}  // namespace larkspan
