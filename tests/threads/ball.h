// A scriptable class for the interpreter tests: "Ball" with a data property
// "size", a method "default" that counts, a method "roll" that keeps its
// parameters and may finish at once or later, and an event "hit".
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "baublecore/scriptable_object.h"

class Ball : public PXScriptableObject {
public:
    static int alive;
    int size = 0;
    int plays = 0;
    std::vector<std::string> rolled;
    std::vector<std::string> played;

    Ball() { ++alive; }
    ~Ball() override { --alive; }

    PXScriptableObject* copy() const override {
        auto* twin = new Ball;
        twin->size = size;
        sobClone(twin);
        return twin;
    }
    void sobAssignProperties() override {
        PXLinkToMember<Ball> set(this, &Ball::setSize, nullptr);
        PXLinkToMember<Ball> get(this, &Ball::getSize, nullptr);
        PXLinkToMember<Ball> play(this, &Ball::play);
        PXLinkToMember<Ball> roll(this, &Ball::roll);
        sobAddDataProperty("size", &set, &get);
        sobAddMethodProperty(&play);
        sobAddMethodProperty("roll", &roll);
        sobAddEventProperty("hit");
    }
    void setSize(const void* v) { size = std::atoi(static_cast<const char*>(v)); }
    void getSize(const void* buffer) {
        std::snprintf(static_cast<char*>(const_cast<void*>(buffer)), 1024, "%d", size);
    }
    void play() {
        ++plays;
        played.clear();
        for (const char* p = nextParameter(); *p; p = nextParameter()) played.emplace_back(p);
    }
    void roll() {
        rolled.clear();
        for (const char* p = nextParameter(); *p; p = nextParameter()) rolled.emplace_back(p);
    }
};

inline PXScriptableObject* makeBall() {
    auto* ball = new Ball;
    ball->size = std::atoi(PXScriptableObject::nextParameter());
    return ball;
}
