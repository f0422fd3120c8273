// gRPC over a Unix socket. Its callbacks are a stream, read where they are wanted; its messages are what an
// application holds.
#include <grpcpp/grpcpp.h>

#include "agent.grpc.pb.h"
#include "program.hpp"
#include "workload.hpp"

namespace {

namespace rpc = bench_rpc;

class Answers final : public rpc::Agent::Service {
public:
    Answers()
    {
        for (const bench::Detail& detail : bench::details()) {
            rpc::Detail& one = *list_.add_details();
            one.set_resource_count(detail.resource_count);
            std::string* const texts[] = {one.mutable_device_id(),
                                          one.mutable_device_name(),
                                          one.mutable_prefix(),
                                          one.mutable_cloud_device_state(),
                                          one.mutable_nick(),
                                          one.mutable_color(),
                                          one.mutable_locale(),
                                          one.mutable_firmware_version(),
                                          one.mutable_manufacture_name(),
                                          one.mutable_vid(),
                                          one.mutable_reserved()};
            for (std::size_t i = 0; i < bench::text_count; ++i)
                *texts[i] = detail.texts[i];
            google::protobuf::RepeatedPtrField<std::string>* const lists[] = {
                one.mutable_device_type(), one.mutable_observable_resource_uris(),
                one.mutable_resource_uris()};
            for (std::size_t i = 0; i < bench::list_count; ++i)
                lists[i]->Assign(detail.lists[i].begin(), detail.lists[i].end());
        }
    }

    grpc::Status Small(grpc::ServerContext*, const rpc::Nothing*, rpc::Text* answer) override
    {
        answer->set_text(bench::signed_in);
        return grpc::Status::OK;
    }
    grpc::Status Large(grpc::ServerContext*, const rpc::Question*, rpc::Text* answer) override
    {
        answer->set_text(bench::status());
        return grpc::Status::OK;
    }
    grpc::Status List(grpc::ServerContext*, const rpc::Nothing*, rpc::Details* details) override
    {
        *details = list_;
        return grpc::Status::OK;
    }
    grpc::Status Flood(grpc::ServerContext*, const rpc::Wish* wish,
                       grpc::ServerWriter<rpc::Notification>* to) override
    {
        const auto& [kind, title, body] = bench::notification();
        rpc::Notification notification;
        notification.set_kind(kind);
        notification.set_title(title);
        notification.set_body(body);
        for (int i = 0; i < wish->count(); ++i)
            to->Write(notification);
        return grpc::Status::OK;
    }

private:
    rpc::Details list_;
};

int serve(const std::string& address)
{
    Answers answers;
    grpc::ServerBuilder builder;
    builder.AddListeningPort("unix:" + address, grpc::InsecureServerCredentials());
    builder.RegisterService(&answers);
    const std::unique_ptr<grpc::Server> server = builder.BuildAndStart();
    if (server == nullptr)
        return 1;
    bench::say_ready();
    server->Wait();
    return 0;
}

class Channel : public bench::Client {
public:
    explicit Channel(const std::string& address)
    {
        grpc::ChannelArguments arguments;
        arguments.SetMaxReceiveMessageSize(-1);
        agent_ = rpc::Agent::NewStub(
            grpc::CreateCustomChannel("unix:" + address, grpc::InsecureChannelCredentials(), arguments));
    }

    void ask_small() override
    {
        grpc::ClientContext context;
        rpc::Text answer;
        need(agent_->Small(&context, {}, &answer));
    }
    void ask_large() override
    {
        const auto& [device, component, capability] = bench::question();
        grpc::ClientContext context;
        rpc::Question asked;
        asked.set_device(device);
        asked.set_component(component);
        asked.set_capability(capability);
        rpc::Text answer;
        need(agent_->Large(&context, asked, &answer));
    }
    void ask_details() override
    {
        grpc::ClientContext context;
        rpc::Details details;
        need(agent_->List(&context, {}, &details));
        if (details.details_size() != bench::detail_count)
            bench::give_up("gRPC: the details are not complete");
    }
    void hear(int callbacks) override
    {
        grpc::ClientContext context;
        rpc::Wish wish;
        wish.set_count(callbacks);
        const auto stream = agent_->Flood(&context, wish);
        rpc::Notification notification;
        int heard = 0;
        while (stream->Read(&notification))
            ++heard;
        need(stream->Finish());
        if (heard != callbacks)
            bench::give_up("gRPC: callbacks are missing");
    }

private:
    static void need(const grpc::Status& status)
    {
        if (!status.ok())
            bench::give_up("gRPC: " + status.error_message());
    }

    std::unique_ptr<rpc::Agent::Stub> agent_;
};

}  // namespace

int main(int argc, char** argv)
{
    return bench::run(argc, argv, serve,
                      [](const std::string& address) { return std::make_unique<Channel>(address); });
}
