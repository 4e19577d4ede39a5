-- max rows 3
SELECT "No_","Name","City","Blocked","Created_Date","Opens","Balance" FROM "Customer" WHERE ((({pred SetFlowFilter, 'Customer', 'Location_Filter', 'BLUE'}) AND ("City" <> 'Rome'))) ORDER BY "No_"
