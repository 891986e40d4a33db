#pragma once

#include "sync/HttpClient.h"

namespace larkspan {

// HTTP by libcurl.
class CurlClient final : public HttpClient {
  public:
    // For HttpClient::choose.
    static std::unique_ptr<HttpClient> make(const CloudSettings& settings);

    explicit CurlClient(CloudSettings settings);
    CurlClient(const CurlClient&) = delete;
    CurlClient& operator=(const CurlClient&) = delete;
    ~CurlClient() override;

    Result<HttpAnswer> post(const HttpRequest& request, CancelFlag& cancel) override;

  private:
    class Exchange;
    struct Handles;

    const CloudSettings settings_;
    std::unique_ptr<Handles> handles_;
};

}  // namespace larkspan
