// MotionCompensator: root of the compensator family; no data.
#ifndef MOTIONCOMPENSATOR_H
#define MOTIONCOMPENSATOR_H

class MotionCompensator {
public:
    MotionCompensator() = default;
    MotionCompensator(const MotionCompensator&) = default;
    MotionCompensator& operator=(const MotionCompensator&) = default;
    virtual ~MotionCompensator();
};

#endif
