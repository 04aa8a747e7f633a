#pragma once
// A model of the second face that ends with its scope.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tarnvelde_model.h"

struct TvModel {
    tv_model* handle = nullptr;

    TvModel() { EXPECT_EQ(tv_create(&handle), TV_OK); }
    ~TvModel() { EXPECT_EQ(tv_free(handle), TV_OK); }
    TvModel(TvModel&& other) noexcept : handle(std::exchange(other.handle, nullptr)) {}
    TvModel(const TvModel&) = delete;
    TvModel& operator=(const TvModel&) = delete;
    operator tv_model*() const { return handle; }

    int32_t openText(const std::string& text, const char* report = nullptr) const {
        return tv_openText(handle, text.data(), text.size(), nullptr, report);
    }

    int32_t getPhase() const {
        int32_t phase = -1;
        EXPECT_EQ(tv_getPhase(handle, &phase), TV_OK);
        return phase;
    }

    tv_clock getClock() const {
        tv_clock clock{};
        EXPECT_EQ(tv_getClock(handle, &clock), TV_OK);
        return clock;
    }

    int32_t getCount(int32_t objectClass) const {
        int32_t count = -1;
        EXPECT_EQ(tv_getCount(handle, objectClass, &count), TV_OK);
        return count;
    }

    int32_t find(int32_t objectClass, const std::string& id) const {
        int32_t index = -1;
        EXPECT_EQ(tv_findObject(handle, objectClass, id.c_str(), &index), TV_OK) << id;
        return index;
    }

    std::vector<tv_message> getErrors() const {
        std::vector<tv_message> errors;
        for (const tv_message& message : getMessages()) {
            if (message.level == TV_ERROR) {
                errors.push_back(message);
            }
        }
        return errors;
    }

    std::vector<tv_message> getMessages() const {
        int32_t count = 0;
        EXPECT_EQ(tv_getMessageCount(handle, &count), TV_OK);
        std::vector<tv_message> messages(static_cast<size_t>(count));
        for (int32_t k = 0; k < count; ++k) {
            EXPECT_EQ(tv_getMessage(handle, k, &messages[static_cast<size_t>(k)]), TV_OK);
        }
        return messages;
    }
};
