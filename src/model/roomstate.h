#pragma once
// What a room keeps in the model that only itself knows. It is made and ends with the model, and is constant in a
// constant one.

#include <memory>

template <class Content>
class RoomState {
public:
    RoomState() : content(std::make_unique<Content>()) {}

    Content& operator*() { return *content; }
    const Content& operator*() const { return *content; }
    Content* operator->() { return content.get(); }
    const Content* operator->() const { return content.get(); }

private:
    std::unique_ptr<Content> content;
};
