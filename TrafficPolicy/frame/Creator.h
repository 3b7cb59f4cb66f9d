// Factories and creators.
#pragma once

// Defines two functions of the same parameters (in parentheses) and the same body: the factory of a
// class and its creator, both of which are exported.
#define DEFINE_FACTORY_AND_CREATOR(Class, factory, parameters, ...) \
    Orb::Ptr<Class> factory parameters __VA_ARGS__ Orb::Ptr<Class> Class##Is parameters __VA_ARGS__
